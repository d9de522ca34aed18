// Sentence splitting of GB text, as offsets: the rules of the text
// utilities' sentence list, without copying a paragraph or a sentence.
// The list builder saves a copy of each sentence this reports; the front
// end keeps only the offsets.
#pragma once

#include <cctype>
#include <cstddef>
#include <cstdint>

#include "common/char_class.h"
#include "common/gb_lists.h"
#include "vsglex/utility.h"

namespace vsg::sentences {

// A sentence is cut once it reaches kSentenceCut bytes without an end mark;
// sentences and paragraphs longer than the list builder's buffers (511 and
// 8,191 bytes) are not reported. A paragraph is cut at kParagraphCut bytes.
inline constexpr long kSentenceCut = 503;
inline constexpr long kSentenceMax = 511;
inline constexpr long kParagraphCut = 8064;
inline constexpr long kParagraphMax = 8191;

inline unsigned Byte(const char *s, long i) { return static_cast<unsigned char>(s[i]); }
inline bool IsBreak(unsigned b) { return b == '\r' || b == '\n'; }

// True when the two bytes at s are one of the two-byte marks of `marks`.
inline bool IsWideMark(const char *marks, const char *s) {
    for (const char *m = marks; *m != '\0'; m += 2)
        if (m[0] == s[0] && m[1] == s[1]) return true;
    return false;
}

// Which bytes open one of a list of two-byte marks: most characters of a
// text are ruled out by one look-up.
struct MarkLeads {
    bool lead[256];
    constexpr explicit MarkLeads(const char *marks) : lead() {
        for (const char *m = marks; *m != '\0'; m += 2) lead[static_cast<unsigned char>(*m)] = true;
    }
};
inline constexpr MarkLeads kEndMarkLeads{vsg::text::kSentenceEndMarks};

// The sentences of paragraph bytes [0, m) (no NUL among them): calls
// sentence(from, to, sentenceNo) for each, in order. A lead byte standing
// last is read with a NUL as its trail byte, as in a terminated copy.
template <class Sentence>
void SplitParagraph(const char *paragraph, long m, Sentence &&sentence) {
    uint32_t sentenceNo = 0;
    auto save = [&](long from, long to) {
        const long len = to - from;
        if (len <= 0 || len > kSentenceMax) return;  // empty after a doubled start, or too long
        sentence(from, to, sentenceNo);
        ++sentenceNo;
    };
    long start = 0;
    long i = 0;
    while (i < m) {
        if (i - start >= kSentenceCut) {
            // Forced cut; the next sentence starts at twice the cut position,
            // and marks before that start save nothing.
            save(start, i);
            start = 2 * i;
        }
        const unsigned b = Byte(paragraph, i);
        long end = -1;  // one past a sentence end mark
        if (b >= 0x80) {
            if (kEndMarkLeads.lead[b] && i + 1 < m && IsWideMark(vsg::text::kSentenceEndMarks, paragraph + i))
                end = i + 2;
            i += 2;
        } else {
            if (b == '!' || b == '?' || b == ';') {
                end = i + 1;
            } else if (b == '.' && i + 1 < m) {
                const unsigned next = Byte(paragraph, i + 1);
                if (next >= 0x80 || std::isupper(static_cast<int>(next))) end = i + 1;
            }
            ++i;
        }
        if (end > start) {
            save(start, end);
            start = end;
        }
    }
    if (m - start >= 1 && m - start <= kSentenceMax) save(start, m);
}

// The sentences of text bytes [0, n) (no NUL among them), paragraph by
// paragraph: calls sentence(from, to, sentenceNo, paragraphNo) with offsets
// in the text, sentences numbered within their paragraph.
template <class Sentence>
void SplitText(const char *text, long n, Sentence &&sentence) {
    auto paragraph = [&](long from, long to, uint32_t paragraphNo) {
        const long len = to - from;
        if (len < 0 || len > kParagraphMax) return;  // longer paragraphs are not saved
        // A forced cut after a lead byte standing last ends one past the
        // text: the paragraph's copy then ends at the text's terminator.
        SplitParagraph(text + from, (to > n ? n : to) - from, [&](long s, long e, uint32_t sentenceNo) {
            sentence(from + s, from + e, sentenceNo, paragraphNo);
        });
    };
    long i = 0;
    while (i < n && (IsBreak(Byte(text, i)) || text[i] == ' ' || text[i] == '\t')) ++i;
    long s = i;  // start of the pending paragraph
    uint32_t paragraphNo = 0;
    while (i < n) {
        const unsigned b = Byte(text, i);
        if (b >= 0x80) {
            i += 2;
            if (i - s > kParagraphCut) {
                // Forced cut; the next paragraph starts at twice the position.
                paragraph(s, i, paragraphNo++);
                s = 2 * i;
            }
        } else if (IsBreak(b)) {
            const long p = i;
            if (p >= s) {  // breaks before a doubled start are ignored
                const bool ends = (p >= 1 && vsg::CharClass(text + p - 1) == CT_SINGLE_DELIMITER) ||
                                  (p >= 2 && vsg::CharClass(text + p - 2) == CT_DELIMITER) ||
                                  (p + 1 < n && p - s <= kParagraphMax &&
                                   (text[p + 1] == '\t' || text[p + 1] == ' ' || IsBreak(Byte(text, p + 1))));
                if (ends) {
                    paragraph(s, p, paragraphNo++);
                    s = p;
                }
            }
            while (i < n && IsBreak(Byte(text, i))) ++i;
        } else {
            ++i;
        }
    }
    if (s <= n && n - s <= kParagraphMax) paragraph(s, n, paragraphNo);
}

// The starts of the sentences the text utilities' sentence list holds for
// text [0, n): start(from) for each. The list has room for the count of
// sentence marks (TEXT_GetSensNum) plus n / 512 + 128 sentences and drops
// the rest; countMarks() gives that count, and is asked only when the text
// has more sentences than the second part.
template <class Start, class CountMarks>
void ListedSentenceStarts(const char *text, long n, Start &&start, CountMarks &&countMarks) {
    size_t room = static_cast<size_t>(n) / 512 + 128;
    bool marksCounted = false;
    size_t count = 0;
    SplitText(text, n, [&](long from, long, uint32_t, uint32_t) {
        if (count >= room && !marksCounted) {
            room += countMarks();
            marksCounted = true;
        }
        if (count >= room) return;
        ++count;
        start(from);
    });
}

}  // namespace vsg::sentences
