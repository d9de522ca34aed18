#include <gtest/gtest.h>

#include <string>

#include "model/bytes.h"
#include "support/support.h"
#include "vsglex/model.h"

namespace {

struct Map {
    POSmap m{};
    ~Map() { POSmap_Free(&m); }
};

std::string Tag(int32_t id, const POSmap &m) {
    char out[128] = "junk";
    const int32_t rc = POSmap_GetPOS(id, out, &m);
    EXPECT_EQ(rc == 1, out[0] != '\0');
    return out;
}

TEST(POSmap, LinesGiveNumbersFirstWordOnlyBlankRepeats) {
    vsgtest::TempDir dir;
    const std::string path = dir.file("nr.map");
    vsgtest::RewriteFile(path, "a\nb person name\n\nc\r\n  d  \n");
    Map map;
    ASSERT_EQ(POSmap_Load(path.c_str(), &map.m), 1);
    ASSERT_EQ(POSmap_GetItemCount(&map.m), 5);
    EXPECT_EQ(Tag(0, map.m), "a");
    EXPECT_EQ(Tag(1, map.m), "b");
    EXPECT_EQ(Tag(2, map.m), "b");  // blank line repeats the tag above
    EXPECT_EQ(Tag(3, map.m), "c");
    EXPECT_EQ(Tag(4, map.m), "d");
    EXPECT_EQ(Tag(5, map.m), "");
    EXPECT_EQ(Tag(256, map.m), "a");
    EXPECT_EQ(Tag(-1, map.m), "");  // 255
    EXPECT_EQ(POSmap_GetPOS(7, nullptr, &map.m), -1);
}

TEST(POSmap, CaseInsensitiveBinarySearch) {
    vsgtest::TempDir dir;
    const std::string path = dir.file("zyrpos30.map");
    vsgtest::RewriteFile(path, "a\nAg\nb\nnr\nns\nNT\nv\nvn\nw\n");
    Map map;
    ASSERT_EQ(POSmap_Load(path.c_str(), &map.m), 1);
    const char *tags[] = {"a", "Ag", "b", "nr", "ns", "NT", "v", "vn", "w"};
    // Every tag of a sorted map is found, whatever the case of the query.
    for (int i = 0; i < 9; ++i) EXPECT_EQ(POSmap_GetID(tags[i], &map.m), i) << tags[i];
    EXPECT_EQ(POSmap_GetID("aG", &map.m), 1);
    EXPECT_EQ(POSmap_GetID("NR", &map.m), 3);
    EXPECT_EQ(POSmap_GetID("nt", &map.m), 5);
    EXPECT_EQ(POSmap_GetID("VN", &map.m), 7);
    for (const char *absent : {"", "0", "nq", "zz", "n", "wx"})
        EXPECT_EQ(POSmap_GetID(absent, &map.m), -1) << absent;
    EXPECT_EQ(POSmap_GetID(nullptr, &map.m), -1);
}

TEST(POSmap, EmptyMissingLongLinesAndRelease) {
    vsgtest::TempDir dir;
    Map map;
    EXPECT_EQ(POSmap_Load(dir.file("none.map").c_str(), &map.m), -1);
    const std::string path = dir.file("ns.map");
    vsgtest::RewriteFile(path, "");
    ASSERT_EQ(POSmap_Load(path.c_str(), &map.m), 1);
    EXPECT_EQ(POSmap_GetItemCount(&map.m), 0);
    EXPECT_EQ(POSmap_GetID("a", &map.m), -1);
    EXPECT_EQ(Tag(0, map.m), "");

    // A line of 99 bytes or more is read in pieces: each piece gives a tag.
    vsgtest::RewriteFile(path, "first " + std::string(120, 'y') + "\nlast\n" + std::string("x\0y\n", 4));
    ASSERT_EQ(POSmap_Load(path.c_str(), &map.m), 1);
    ASSERT_EQ(POSmap_GetItemCount(&map.m), 4);
    EXPECT_EQ(Tag(0, map.m), "first");
    EXPECT_EQ(Tag(1, map.m), std::string(120 - 93, 'y'));
    EXPECT_EQ(Tag(2, map.m), "last");
    EXPECT_EQ(Tag(3, map.m), "x");
    POSmap_Free(&map.m);
    POSmap_Free(&map.m);
    EXPECT_EQ(Tag(0, map.m), "");
    EXPECT_EQ(POSmap_GetID("last", &map.m), -1);
}

}  // namespace
