// Runs a fuzz target over given inputs, in the builds that have no fuzzing engine: every file named
// on the command line, and every file below a folder named there. A fault ends the program as it
// would end any other; exit 1 when an input cannot be read or when there was none at all, since a
// test that ran nothing has shown nothing.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

namespace fs = std::filesystem;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace {

// The files that an argument stands for, in an order that does not depend on the file system.
std::vector<fs::path> InputsOf(const fs::path& argument) {
    if (!fs::is_directory(argument)) {
        return {argument};
    }
    std::vector<fs::path> inputs;
    for (const auto& entry : fs::recursive_directory_iterator(argument)) {
        if (entry.is_regular_file()) {
            inputs.push_back(entry.path());
        }
    }
    std::sort(inputs.begin(), inputs.end());
    return inputs;
}

void Run(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    const std::string content{std::istreambuf_iterator<char>(file),
                              std::istreambuf_iterator<char>()};
    if (!file.is_open() || file.bad()) {
        throw std::runtime_error("cannot read " + path.string());
    }
    // A block of exactly the input's size, so that AddressSanitizer sees a read beyond it.
    const auto bytes = std::make_unique<std::uint8_t[]>(content.size());
    std::copy(content.begin(), content.end(), bytes.get());
    (void)LLVMFuzzerTestOneInput(bytes.get(), content.size());
}

}  // namespace

int main(int argc, char** argv) {
    std::size_t count = 0;
    try {
        for (int i = 1; i < argc; ++i) {
            for (const fs::path& input : InputsOf(argv[i])) {
                Run(input);
                ++count;
            }
        }
    } catch (const std::exception& failure) {
        std::fprintf(stderr, "%s\n", failure.what());
        return 1;
    }
    std::printf("%zu inputs\n", count);
    return count > 0 ? 0 : 1;
}
