#include "collectors/command.h"

#include "collectors/command_text.h"
#include "collectors/shellcommand.h"

namespace {

// Fills the piece as far as there is output: how many bytes, -1 when reading failed.
ssize_t ReadPiece(ShellCommand& shell, CommandChunk& chunk) {
    std::size_t used = 0;
    while (used < kCommandReadSize) {
        const ssize_t count = shell.Read(chunk.data() + used, kCommandReadSize - used);
        if (count < 0) {
            return -1;
        }
        if (count == 0) {
            break;
        }
        used += static_cast<std::size_t>(count);
    }
    return static_cast<ssize_t>(used);
}

// False when reading failed or the text grew too long.
bool ReadAll(ShellCommand& shell, CommandText& text) {
    ssize_t count = 0;
    do {
        CommandChunk chunk{};
        count = ReadPiece(shell, chunk);
        if (count < 0 || !text.Append(chunk)) {
            return false;
        }
    } while (count == ssize_t{kCommandReadSize});
    return true;
}

}  // namespace

int RunCommand(const char* command, char* out, std::size_t size, std::chrono::milliseconds limit) {
    if (command == nullptr || out == nullptr || size == 0) {
        return -1;
    }
    CommandText text(out, size);
    ShellCommand shell(command, limit);
    if (!shell.IsStarted()) {
        return -1;
    }
    // The exit status does not count, and the child of a host that ignores SIGCHLD has none.
    if (!ReadAll(shell, text)) {
        text.Clear();
        return -1;
    }
    text.DropLastCharacter();
    return 0;
}
