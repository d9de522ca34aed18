// Character lists of the trainer's own tests, as UTF-8 (converted to GB at
// start-up by the trainer). The place suffixes and the transliteration
// lists it shares with the library are the GB lists of common/gb_lists.h.
#ifndef VSGLEX_TOOLS_TRAIN_CHARLISTS_H
#define VSGLEX_TOOLS_TRAIN_CHARLISTS_H

namespace vsgtrain {

// Two-character Japanese surnames: a name token that begins with one
// (桥本龙太郎, 小林实, 三塚博) is a Japanese name whatever its other
// characters.
inline constexpr char kJapaneseSurnames[] =
    "佐藤铃木高桥田中渡边伊藤山本中村小林加藤吉田山田山口松本井上木村清水山崎池田桥本阿部石川山下中岛石井小川"
    "前田冈田藤田后藤近藤村上远藤青木坂本斋藤齐藤福田太田西村藤井冈本藤原中野三浦原田中川松田竹内小野田村"
    "和田石田森田上田柴田酒井工藤横山宫崎宫本内田高木安藤岛田谷口大野丸山今井高田藤本武田村田上野杉山增田"
    "大塚平野菅原久保松井千叶岩崎樱井木下野口松尾菊地野村新井渡部宫川谷内片冈奥田奥山鹿野井口樱内神崎冬柴"
    "小泽羽田青山白滨木庭小渊村山三塚安倍细川土井堀内宫泽竹下海部梶山野中河野小泉三木桥口船田鸠山森山绪方"
    "久间额贺尾身町村古贺武村加纳北泽冈崎松浦市川东条吉川川端黑泽夏目芥川丰田本田松下稻盛盛田井深佐佐";

// Single-character Chinese surnames, the frequent and the rare (臧, 逄,
// 粟): a character here that the training days never show as a surname
// still gets a small surname count.
inline constexpr char kSurnameChars[] =
    "赵钱孙李周吴郑王冯陈褚卫蒋沈韩杨朱秦尤许何吕施张孔曹严华金魏陶姜戚谢邹喻柏水窦章云苏潘葛奚范彭郎鲁韦昌马苗凤花方"
    "俞任袁柳酆鲍史唐费廉岑薛雷贺倪汤滕殷罗毕郝邬安常乐于时傅皮卞齐康伍余元卜顾孟平黄和穆萧尹姚邵湛汪祁毛禹狄米贝明臧"
    "计伏成戴谈宋茅庞熊纪舒屈项祝董梁杜阮蓝闵席季麻强贾路娄危江童颜郭梅盛林刁钟徐邱骆高夏蔡田樊胡凌霍虞万支柯昝管卢莫"
    "经房裘缪干解应宗丁宣贲邓郁单杭洪包诸左石崔吉钮龚程嵇邢滑裴陆荣翁荀羊於惠甄曲家封芮羿储靳汲邴糜松井段富巫乌焦巴弓"
    "牧隗山谷车侯宓蓬全郗班仰秋仲伊宫宁仇栾暴甘钭厉戎祖武符刘景詹束龙叶幸司韶郜黎蓟薄印宿白怀蒲邰从鄂索咸籍赖卓蔺屠蒙"
    "池乔阴胥能苍双闻莘党翟谭贡劳逄姬申扶堵冉宰郦雍郤璩桑桂濮牛寿通边扈燕冀郏浦尚农温别庄晏柴瞿阎充慕连茹习宦艾鱼容向"
    "古易慎戈廖庾终暨居衡步都耿满弘匡国文寇广禄阙东欧殳沃利蔚越夔隆师巩厍聂晁勾敖融冷訾辛阚那简饶空曾毋沙乜养鞠须丰巢"
    "关蒯相查后荆红游竺权逯盖益桓公粟付闫覃岳帅仝佟苑阳练揭晋谌植郇铁兰尉迟候佘麦招";

// Multi-character place suffixes.
inline constexpr const char *kPlaceSuffixWords[] = {
    "半岛", "草原", "城市", "大堤", "大公国", "大桥", "地区", "帝国",
    "渡槽", "港口", "高速公路", "高原", "公路", "公园", "共和国", "谷地",
    "广场", "国道", "海峡", "胡同", "机场", "集镇", "教区", "街道",
    "口岸", "码头", "煤矿", "牧场", "农场", "盆地", "平原", "丘陵",
    "群岛", "沙漠", "沙洲", "山脉", "山丘", "水库", "隧道", "特区",
    "铁路", "新村", "雪峰", "盐场", "盐湖", "渔场", "直辖市", "自治区",
    "自治县", "自治州",
};

}  // namespace vsgtrain

#endif  // VSGLEX_TOOLS_TRAIN_CHARLISTS_H
