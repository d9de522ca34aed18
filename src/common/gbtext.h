// GB2312 byte strings used by the engine. Sources are UTF-8, so every GB
// constant is written as byte escapes with the characters in a comment.
#ifndef VSGLEX_SRC_COMMON_GBTEXT_H
#define VSGLEX_SRC_COMMON_GBTEXT_H

#include <cstddef>

namespace vsg {

inline constexpr char kStartWord[] = "\xca\xbc##\xca\xbc";   // 始##始
inline constexpr char kEndWord[] = "\xc4\xa9##\xc4\xa9";     // 末##末
inline constexpr char kPersonClass[] = "\xce\xb4##\xc8\xcb"; // 未##人
inline constexpr char kPlaceClass[] = "\xce\xb4##\xb5\xd8";  // 未##地
inline constexpr char kOrgClass[] = "\xce\xb4##\xcd\xc5";    // 未##团
inline constexpr char kOtherClass[] = "\xce\xb4##\xcb\xfc";  // 未##它
inline constexpr char kMiddleDot[] = "\xa1\xa4";             // ·
inline constexpr char kTimesSigns[] = "\xa1\xc1\xa1\xc1";    // ××
// Characters that precede a name as a familiar form (老张, 小李, 阿良), two
// bytes each: the corpus writes such a two-character person word as one
// token.
inline constexpr char kNamePrefixChars[] = "\xc0\xcf\xd0\xa1\xb0\xa2";  // 老小阿
// Surnames of two characters, four bytes each: 欧阳 司马 诸葛 上官 东方
// 皇甫 令狐 慕容 尉迟 公孙 长孙 夏侯 端木 宇文 司徒 澹台 轩辕 独孤 南宫 西门
// 申屠 呼延 万俟 闻人 赫连 拓跋 完颜 耶律.
inline constexpr char kCompoundSurnames[] =
    "\xc5\xb7\xd1\xf4\xcb\xbe\xc2\xed\xd6\xee\xb8\xf0\xc9\xcf\xb9\xd9\xb6\xab\xb7\xbd"
    "\xbb\xca\xb8\xa6\xc1\xee\xba\xfc\xc4\xbd\xc8\xdd\xce\xbe\xb3\xd9\xb9\xab\xcb\xef"
    "\xb3\xa4\xcb\xef\xcf\xc4\xba\xee\xb6\xcb\xc4\xbe\xd3\xee\xce\xc4\xcb\xbe\xcd\xbd"
    "\xe5\xa3\xcc\xa8\xd0\xf9\xd4\xaf\xb6\xc0\xb9\xc2\xc4\xcf\xb9\xac\xce\xf7\xc3\xc5"
    "\xc9\xea\xcd\xc0\xba\xf4\xd1\xd3\xcd\xf2\xd9\xb9\xce\xc5\xc8\xcb\xba\xd5\xc1\xac"
    "\xcd\xd8\xb0\xcf\xcd\xea\xd1\xd5\xd2\xae\xc2\xc9";

// Number of two-byte GB character keys: tables indexed by GbCharKey.
inline constexpr size_t kGbCharKeys = size_t{1} << 16;
// The two bytes of the GB character at p as an index of a 64K table.
inline size_t GbCharKey(const char *p) {
    return static_cast<size_t>(static_cast<unsigned char>(p[0])) << 8 | static_cast<unsigned char>(p[1]);
}

// True when GB text[0..length) is Chinese characters of GB2312 only (rows
// B0 and up, trail bytes A1 and up).
inline bool IsGb2312ChineseText(const char *text, size_t length) {
    if (length % 2 != 0) return false;
    for (size_t i = 0; i < length; i += 2)
        if (static_cast<unsigned char>(text[i]) < 0xB0 || static_cast<unsigned char>(text[i + 1]) < 0xA1) return false;
    return true;
}

}  // namespace vsg

#endif  // VSGLEX_SRC_COMMON_GBTEXT_H
