// GB2312 byte strings used by the engine. Sources are UTF-8, so every GB
// constant is written as byte escapes with the characters in a comment.
#ifndef VSGLEX_SRC_COMMON_GBTEXT_H
#define VSGLEX_SRC_COMMON_GBTEXT_H

namespace vsg {

inline constexpr char kStartWord[] = "\xca\xbc##\xca\xbc";   // 始##始
inline constexpr char kEndWord[] = "\xc4\xa9##\xc4\xa9";     // 末##末
inline constexpr char kPersonClass[] = "\xce\xb4##\xc8\xcb"; // 未##人
inline constexpr char kPlaceClass[] = "\xce\xb4##\xb5\xd8";  // 未##地
inline constexpr char kOrgClass[] = "\xce\xb4##\xcd\xc5";    // 未##团
inline constexpr char kOtherClass[] = "\xce\xb4##\xcb\xfc";  // 未##它
inline constexpr char kMiddleDot[] = "\xa1\xa4";             // ·
inline constexpr char kTimesSigns[] = "\xa1\xc1\xa1\xc1";    // ××

}  // namespace vsg

#endif  // VSGLEX_SRC_COMMON_GBTEXT_H
