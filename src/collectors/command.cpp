#include "collectors/command.h"

#include <cstdio>
#include <memory>

#include "collectors/command_text.h"

namespace {

struct EndCommand {
    // The exit status does not count, and the child of a host that ignores SIGCHLD has none.
    void operator()(std::FILE* stream) const { (void)pclose(stream); }
};

// False when reading failed or the text grew too long.
bool ReadAll(std::FILE* stream, CommandText& text) {
    while (std::feof(stream) == 0) {
        CommandChunk chunk{};
        const std::size_t count = std::fread(chunk.data(), 1, kCommandReadSize, stream);
        if (count < kCommandReadSize && std::ferror(stream) != 0) {
            return false;
        }
        if (!text.Append(chunk)) {
            return false;
        }
    }
    return true;
}

}  // namespace

int RunCommand(const char* command, char* out, std::size_t size) {
    if (command == nullptr || out == nullptr || size == 0) {
        return -1;
    }
    CommandText text(out, size);
    const std::unique_ptr<std::FILE, EndCommand> stream(popen(command, "re"));
    if (stream == nullptr) {
        return -1;
    }
    if (!ReadAll(stream.get(), text)) {
        text.Clear();
        return -1;
    }
    text.DropLastCharacter();
    return 0;
}
