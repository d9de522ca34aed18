// A set of two-byte GB characters as a bitmap over their codes.
#ifndef VSGLEX_SRC_FRONT_GBCHARSET_H
#define VSGLEX_SRC_FRONT_GBCHARSET_H

#include <cstdint>

namespace vsg::front {

// The two-byte GB characters of a NUL-terminated list as a bitmap over their
// codes, built at compile time: the steps after the engine ask for every
// word whether it is one of a few characters, and a list scan costs a
// comparison per member.
class GbCharSet {
public:
    constexpr explicit GbCharSet(const char *list) {
        for (; list[0] != '\0' && list[1] != '\0'; list += 2) Add(list);
    }
    constexpr void Add(const char *p) {
        const unsigned c = (static_cast<unsigned char>(p[0]) << 8) | static_cast<unsigned char>(p[1]);
        bits_[c >> 6] |= uint64_t{1} << (c & 63);
    }
    // Whether the two-byte character at p is in the set (InGbList(list, p)).
    bool Has(const char *p) const {
        const unsigned c = (static_cast<unsigned char>(p[0]) << 8) | static_cast<unsigned char>(p[1]);
        return (bits_[c >> 6] >> (c & 63)) & 1;
    }

private:
    uint64_t bits_[1024] = {};
};

}  // namespace vsg::front

#endif  // VSGLEX_SRC_FRONT_GBCHARSET_H
