#!/usr/bin/env python3
"""Prints src/common/gb_lists.h: the GB2312/GBK character lists of the text
utilities (and of the front end, which reads the transliteration lists) as C++ byte-escaped constants, each line commented with its
characters in UTF-8.

Usage: python3 tools/gblists/gen_gb_lists.py > src/common/gb_lists.h
       python3 tools/gblists/gen_gb_lists.py --check src/common/gb_lists.h
(the second form exits with 1 when the file differs from what it prints)
"""
import sys

# (name, comment, UTF-8 text). Two-byte characters come first; a trailing
# ASCII part, where present, is matched byte-wise by the code.
LISTS = [
    ("kSignPrefixes", "sign prefixes of a number", "±第—＋+-"),
    ("kDecimalSeparators", "decimal separators of a number", "∶·．／./"),
    ("kPercentSigns", "percent signs", "％‰%"),
    ("kMultipliers", "multipliers that may follow a number", "百千万亿佰仟兆"),
    ("kSimpleNumChars", "characters of a simple number",
     "０１２３４５６７８９零○一二两三四五六七八九十廿百千万亿壹贰叁肆伍陆柒捌玖拾佰仟兆"),
    ("kChineseNumChars", "characters of a Chinese number expression",
     "零○一二两三四五六七八九十０１２３４５６７８９廿百千万亿壹贰叁肆伍陆柒捌玖拾佰仟兆∶·．／点几上成"),
    ("kChineseNumLeaders", "characters allowed only first in a Chinese number", "数第"),
    ("kFractionWord", "the fraction word", "分之"),
    ("kHeavenlyStems", "heavenly stems", "甲乙丙丁戊己庚辛壬癸"),
    ("kEarthlyBranches", "earthly branches", "子丑寅卯辰巳午未申酉戌亥"),
    ("kYearDigits", "digits of a year written in Chinese", "零○一二三四五六七八九壹贰叁肆伍陆柒捌玖"),
    ("kLateFullWidthDigits", "full-width digits that may start a two-digit year", "５６７８９"),
    ("kThousandAndZero", "thousand and zero", "千仟零○"),
    ("kThousand", "thousand", "千仟"),
    ("kPlaceSuffixes", "single-character place suffixes",
     "坝邦堡杯城池村单岛道堤店洞渡队法峰府冈港阁宫沟国海号河湖环集江奖礁角街井郡坑口矿里岭楼路门盟庙弄牌派坡铺旗桥区渠泉人"
     "山省市水寺塔台滩坛堂厅亭屯湾文屋溪峡县线乡巷型洋窑营屿语园苑院闸寨站镇州庄族陂庵町"),
    ("kForeignSetA", "characters of general transliterations",
     "·—阿埃艾爱安昂敖奥澳笆芭巴白拜班邦保堡鲍北贝本比毕彼别波玻博勃伯泊卜布才采仓查差柴彻川茨慈次达大戴代丹旦但当道德得的"
     "登迪狄蒂帝丁东杜敦多额俄厄鄂恩尔伐法范菲芬费佛夫福弗甫噶盖干冈哥戈革葛格各根古瓜哈海罕翰汗汉豪合河赫亨侯呼胡华霍基吉及"
     "加贾坚简杰金京久居君喀卡凯坎康考柯科可克肯库奎拉喇莱来兰郎朗劳勒雷累楞黎理李里莉丽历利立力连廉良列烈林隆卢虏鲁路伦仑罗"
     "洛玛马买麦迈曼茅茂梅门蒙盟米蜜密敏明摩莫墨默姆木穆那娜纳乃奈南内尼年涅宁纽努诺欧帕潘畔庞培佩彭皮平泼普其契恰强乔切钦沁"
     "泉让热荣肉儒瑞若萨塞赛桑瑟森莎沙山善绍舍圣施诗石什史士守斯司丝苏素索塔泰坦汤唐陶特提汀图土吐托陀瓦万王旺威韦维魏温文翁"
     "沃乌吾武伍西锡希喜夏相香歇谢辛新牙雅亚彦尧叶依伊衣宜义因音英雍尤于约宰泽增詹珍治中仲朱诸卓孜祖佐伽娅尕腓滕济嘉津赖莲琳"
     "律略慕妮聂裴浦奇齐琴茹珊卫欣逊札哲智兹芙汶迦珀琪梵斐胥黛"),
    ("kForeignSetB", "characters of a second transliteration style",
     "·阿安奥巴比彼波布察茨大德得丁杜尔法夫伏甫盖格哈基加坚捷金卡科可克库拉莱兰勒雷里历利连列卢鲁罗洛马梅蒙米姆娜涅宁诺帕泼"
     "普奇齐乔切日萨色山申什斯索塔坦特托娃维文乌西希谢亚耶叶依伊以扎佐柴达登蒂戈果海赫华霍吉季津柯理琳玛曼穆纳尼契钦丘桑沙舍"
     "泰图瓦万雅卓兹"),
    ("kForeignSetC", "characters of Japanese names",
     "安奥八白百邦保北倍本比滨博步部彩菜仓昌长朝池赤川船淳次村大代岛稻道德地典渡尔繁饭风福冈高工宫古谷关广桂贵好浩和合河黑横"
     "恒宏后户荒绘吉纪佳加见健江介金今进井静敬靖久酒菊俊康可克口梨理里礼栗丽利立凉良林玲铃柳隆鹿麻玛美萌弥敏木纳南男内鸟宁朋"
     "片平崎齐千前浅桥琴青清庆秋丘曲泉仁忍日荣若三森纱杉山善上伸神圣石实矢世市室水顺司松泰桃藤天田土万望尾未文武五舞西细夏宪"
     "相小孝新星行雄秀雅亚岩杨洋阳遥野也叶一伊衣逸义益樱永由有佑宇羽郁渊元垣原远月悦早造则泽增扎宅章昭沼真政枝知之植智治中忠"
     "仲竹助椎子佐阪坂堀荻菅薰浜濑鸠筱"),
    ("kSentenceCountMarks", "marks counted to size the sentence array", "。！；？，："),
    ("kSentenceEndMarks", "two-byte marks that end a sentence", "。！；？"),
    ("kWideDelimiters", "full-width forms of .,;:?!%(){+}[]/=, in that order",
     "。，；：？！％（）｛＋｝［］／＝"),
]

# Multi-character place suffixes, in GB2312 code order; 9-byte slots.
MULTI_SUFFIXES = (
    "半岛 草原 城市 大堤 大公国 大桥 地区 帝国 渡槽 港口 高速公路 高原 公路 公园 共和国 谷地 广场 国道 海峡 胡同 "
    "机场 集镇 教区 街道 口岸 码头 煤矿 牧场 农场 盆地 平原 丘陵 群岛 沙漠 沙洲 山脉 山丘 水库 隧道 特区 铁路 新村 "
    "雪峰 盐场 盐湖 渔场 直辖市 自治区 自治县 自治州"
).split()

EXPECTED_LENGTHS = {"kPlaceSuffixes": 99, "kForeignSetA": 382, "kForeignSetB": 125, "kForeignSetC": 252}

CHARS_PER_LINE = 16


def encode(text):
    """GB bytes of `text`; every non-ASCII character must be one GB2312/GBK
    double-byte character."""
    out = b""
    for ch in text:
        b = ch.encode("gb18030")
        if ord(ch) >= 0x80 and (len(b) != 2 or b[0] < 0x81):
            sys.exit("not a GB double-byte character: %r" % ch)
        out += b
    return out


def first_hit_is_aligned(encoded, ch_bytes):
    """True when the first occurrence of ch_bytes in encoded is at an even
    offset, i.e. when CC_Find finds the member."""
    return encoded.find(ch_bytes) % 2 == 0


def align_members(text):
    """Reorders `text` so that CC_Find finds every member: a character whose
    bytes first occur straddling two neighbours is moved to the front. Lists
    without such straddles keep their order."""
    chars = list(text)
    for _ in range(10 * len(chars)):
        encoded = encode("".join(chars))
        bad = [c for c in chars if ord(c) >= 0x80 and not first_hit_is_aligned(encoded, encode(c))]
        if not bad:
            return "".join(chars)
        chars.remove(bad[0])
        chars.insert(0, bad[0])
    sys.exit("cannot order %r so that every member is found" % text)


def escape(data):
    return "".join("\\x%02x" % c for c in data)


def literal_lines(text, indent):
    lines = []
    for i in range(0, len(text), CHARS_PER_LINE):
        piece = text[i:i + CHARS_PER_LINE]
        lines.append('%s"%s"  // %s' % (indent, escape(encode(piece)), piece))
    return lines


def main():
    out = [
        "// Generated by tools/gblists/gen_gb_lists.py; do not edit.",
        "// GB2312/GBK character lists of the text utilities (the front end reads",
        "// the transliteration lists too). Two-byte members are tested with",
        "// CC_Find (even offsets only); a trailing ASCII part, where present, is",
        "// matched byte by byte.",
        "#ifndef VSGLEX_SRC_COMMON_GB_LISTS_H",
        "#define VSGLEX_SRC_COMMON_GB_LISTS_H",
        "",
        "namespace vsg::text {",
        "",
    ]
    for name, comment, text in LISTS:
        expected = EXPECTED_LENGTHS.get(name)
        if expected is not None and len(text) != expected:
            sys.exit("%s has %d characters, expected %d" % (name, len(text), expected))
        if len(set(text)) != len(text):
            sys.exit("%s repeats a character" % name)
        ordered = align_members(text)
        note = "" if ordered == text else "; reordered so that CC_Find finds every member"
        text = ordered
        out.append("// %s (%d characters%s)" % (comment[0].upper() + comment[1:], len(text), note))
        out.append("inline constexpr char %s[] =" % name)
        out.extend(literal_lines(text, "    "))
        out[-1] = out[-1].replace('"  //', '";  //', 1)
        out.append("")
    encoded = [encode(s) for s in MULTI_SUFFIXES]
    if len(MULTI_SUFFIXES) != 50 or encoded != sorted(encoded) or max(map(len, encoded)) > 8:
        sys.exit("multi-character suffixes must be 50 sorted entries of at most 8 bytes")
    out.append("// Multi-character place suffixes in GB2312 code order, one 9-byte slot")
    out.append("// each, ended by an empty slot.")
    out.append("inline constexpr int kMultiPlaceSuffixCount = %d;" % len(MULTI_SUFFIXES))
    out.append("inline constexpr char kMultiPlaceSuffixes[kMultiPlaceSuffixCount + 1][9] = {")
    for text in MULTI_SUFFIXES:
        out.append('    "%s",  // %s' % (escape(encode(text)), text))
    out.append('    "",')
    out.append("};")
    out.append("")
    out.append("}  // namespace vsg::text")
    out.append("")
    out.append("#endif  // VSGLEX_SRC_COMMON_GB_LISTS_H")
    text = "\n".join(out) + "\n"
    if len(sys.argv) == 3 and sys.argv[1] == "--check":
        with open(sys.argv[2], encoding="utf-8") as f:
            if f.read() != text:
                sys.exit("%s is out of date: regenerate it with %s" % (sys.argv[2], sys.argv[0]))
        return
    sys.stdout.write(text)


if __name__ == "__main__":
    main()
