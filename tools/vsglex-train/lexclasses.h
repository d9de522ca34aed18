// Frequent content words that form part-of-speech classes of their own
// (numbers 95 onward, in this order): a word with its corpus tag. Chosen
// by frequency in the training days 1-24 of the corpus; a class of one
// word sharpens the transition statistics around that word. The trainer
// writes this list with --pos-word-classes 0; by default it chooses the
// classes from its own training days (pos_classes.cpp).
#ifndef VSGLEX_TOOLS_TRAIN_LEXCLASSES_H
#define VSGLEX_TOOLS_TRAIN_LEXCLASSES_H

namespace vsgtrain {

// One word class: the word (UTF-8) and the corpus tag it carries.
struct LexClass {
    const char *word;
    const char *tag;
};

inline constexpr LexClass kLexClasses[] = {
    {"一", "m"}, {"中", "f"}, {"要", "v"}, {"上", "f"}, {"也", "d"}, {"人", "n"}, {"经济", "n"}, {"个", "q"},
    {"年", "q"}, {"说", "v"}, {"企业", "n"}, {"为", "v"}, {"到", "v"}, {"工作", "vn"}, {"就", "d"},
    {"新", "a"}, {"记者", "n"}, {"大", "a"}, {"国家", "n"}, {"两", "m"}, {"一个", "m"}, {"都", "d"},
    {"１月", "t"}, {"问题", "n"}, {"发展", "vn"}, {"全国", "n"}, {"已", "d"}, {"发展", "v"}, {"市场", "n"},
    {"将", "d"}, {"人民", "n"}, {"多", "m"}, {"还", "d"}, {"后", "f"}, {"元", "q"}, {"建设", "vn"},
    {"能", "v"}, {"使", "v"}, {"进行", "v"}, {"我国", "n"}, {"政府", "n"}, {"社会", "n"}, {"好", "a"},
    {"出", "v"}, {"电", "n"}, {"地区", "n"}, {"世界", "n"}, {"公司", "n"}, {"三", "m"}, {"次", "q"},
    {"更", "d"}, {"最", "d"}, {"来", "v"}, {"多", "a"}, {"又", "d"}, {"国际", "n"}, {"关系", "n"},
    {"重要", "a"}, {"活动", "vn"}, {"群众", "n"}, {"副", "b"}, {"很", "d"}, {"技术", "n"}, {"干部", "n"},
    {"一些", "m"}, {"管理", "vn"}, {"下", "f"}, {"文化", "n"}, {"部门", "n"}, {"会议", "n"}, {"高", "a"},
    {"名", "q"}, {"今天", "t"}, {"会", "v"}, {"提高", "v"}, {"去年", "t"}, {"加强", "v"}, {"方面", "n"},
    {"第一", "m"}, {"国", "n"}, {"同志", "n"}, {"党", "n"}, {"位", "q"}, {"职工", "n"}, {"产品", "n"},
    {"１９９７年", "t"}, {"种", "q"}, {"金融", "n"}, {"里", "f"}, {"几", "m"}, {"农业", "n"}, {"人员", "n"},
    {"领导", "n"}, {"前", "f"}, {"农村", "n"}, {"科技", "n"}, {"改革", "vn"}, {"上", "v"}, {"工程", "n"},
    {"目前", "t"}, {"政策", "n"}, {"历史", "n"}, {"精神", "n"}, {"可以", "v"}, {"认为", "v"}, {"表示", "v"},
    {"有关", "vn"}, {"报道", "v"}, {"社会主义", "n"}, {"中央", "n"}, {"银行", "n"}, {"生活", "vn"}, {"解决", "v"},
    {"达", "v"}, {"成为", "v"}, {"水平", "n"}, {"起", "v"}, {"单位", "n"}, {"农民", "n"}, {"举行", "v"},
    {"再", "d"}, {"１", "m"}, {"实现", "v"}, {"看", "v"}, {"应", "v"}, {"情况", "n"}, {"条", "q"},
    {"产业", "n"}, {"图片", "n"}, {"合作", "vn"}, {"提出", "v"}, {"建立", "v"}, {"女", "b"}, {"基础", "n"},
    {"民族", "n"}, {"教育", "vn"}, {"主席", "n"}, {"没有", "v"}, {"改革", "v"}, {"走", "v"}, {"进一步", "d"},
    {"必须", "d"}, {"继续", "v"}, {"小", "a"}, {"取得", "v"}, {"价格", "n"}, {"开始", "v"}, {"今年", "t"},
    {"去", "v"}, {"艺术", "n"},
};

}  // namespace vsgtrain

#endif  // VSGLEX_TOOLS_TRAIN_LEXCLASSES_H
