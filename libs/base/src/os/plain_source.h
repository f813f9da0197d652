// Sources in which the C preprocessor finds nothing to do. Most models are of this kind, and a
// process that only copies them would take most of the time of a small one.
#ifndef NORVANE_BASE_PLAIN_SOURCE_H
#define NORVANE_BASE_PLAIN_SOURCE_H

#include <cstddef>

namespace norvane::os {

// Decides, block by block, whether the preprocessor would copy a source as it is. It would if the
// source has
//
// - no "#", so no directive,
// - no backslash, so no joined lines,
// - no "__", with which all names begin that are macros without a definition,
// - no control characters but tab and line feed, and no byte order mark, and
// - after its last "/*" a "*/", so that comments end, wherever the preprocessor sees one begin.
//
// These conditions are stricter than necessary: all other sources go through the preprocessor.
class PlainScan {
  public:
    // Takes the next block. The byte before it, text[-1], is readable and holds the last byte of
    // the block before; it is a line feed for the first block.
    void take(const char* text, std::size_t size);
    // So far, and without the comments: a later block cannot make it true again.
    bool may_be_plain() const { return !has_special_; }
    // At the end of the source.
    bool is_plain() const {
        return !has_special_ && (comment_begin_ == 0 || comment_begin_ < comment_end_);
    }

  private:
    void follow_comments(const char* text, const char* end);

    bool has_special_ = false;
    std::size_t size_ = 0; // of the blocks before
    // The places of the stars in the last "/*" and the last "*/", counted from 1; 0 for none.
    std::size_t comment_begin_ = 0;
    std::size_t comment_end_ = 0;
};

// Writes what the filter of line markers would make of the preprocessor's output, if the source is
// plain. Otherwise returns false, and the caller discards what has been written.
// `arguments` is the vector that the preprocessor would get: the last one is the source.
using WriteBytes = void (*)(void* user, const char* data, std::size_t size);
bool copy_plain_source(char* const* arguments, WriteBytes write, void* user);

} // namespace norvane::os

#endif
