// The pure half of the command runner: from the pieces of a command's output to a text.
#ifndef KXEPINFO_COLLECTORS_COMMAND_TEXT_H
#define KXEPINFO_COLLECTORS_COMMAND_TEXT_H

#include <array>
#include <cstddef>

// Output is read in pieces of at most this many bytes.
inline constexpr std::size_t kCommandReadSize = 31;

// One piece, zeros behind it. It is taken as a C string: a zero byte in the output cuts its piece.
using CommandChunk = std::array<char, kCommandReadSize + 1>;

// A zero-terminated text that grows in memory of the caller's.
class CommandText {
  public:
    // Begins empty. `size` bytes, at least 1, are at `out` and outlive the object.
    CommandText(char* out, std::size_t size);

    // False when the piece and the closing zero do not fit whole; the text then ends with as much
    // of it as did.
    bool Append(const CommandChunk& chunk);

    // Takes the last character off; an empty text stays so.
    void DropLastCharacter();

    void Clear();

  private:
    char* m_out;
    std::size_t m_size;
    std::size_t m_used = 0;  // without the closing zero; below m_size
};

#endif  // KXEPINFO_COLLECTORS_COMMAND_TEXT_H
