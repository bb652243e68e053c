// What may lie in a file's place instead of the file.
#ifndef KXEPINFO_TESTS_E2E_HOSTILE_SHAPES_H
#define KXEPINFO_TESTS_E2E_HOSTILE_SHAPES_H

#include <filesystem>
#include <string>
#include <string_view>
#include <thread>

namespace kxtest {

enum class Shape {
    kDirectory,
    kPipe,        // to which nobody writes
    kSilentPipe,  // open at the other end, where nobody says anything
    kLinkToItself,
    kLinkToEndless,  // /dev/zero
    kDanglingLink,
    kHuge,  // 1 GiB, all of it a hole
    kRandom,
    kEmpty,
    kUnreadable,
    kChanging,  // written, cut, removed and replaced all the time; a library only the latter two
};

inline constexpr Shape kAllShapes[] = {
    Shape::kDirectory,     Shape::kPipe,         Shape::kSilentPipe, Shape::kLinkToItself,
    Shape::kLinkToEndless, Shape::kDanglingLink, Shape::kHuge,       Shape::kRandom,
    Shape::kEmpty,         Shape::kUnreadable,   Shape::kChanging,
};

std::string_view NameOf(Shape shape);

// From here on the programs that this process starts may be root and cannot read what its mode
// forbids, like a host of another user. For good.
void RespectModes();

// A file that is there or not, and whose place is taken for a while.
class Place {
  public:
    explicit Place(std::filesystem::path path) : m_path(std::move(path)) {}
    ~Place() { Restore(); }
    Place(const Place&) = delete;
    Place& operator=(const Place&) = delete;

    const std::filesystem::path& path() const { return m_path; }

    // The file is kept aside. Its directory must be there. True.
    bool Take(Shape shape);
    // As it was before.
    void Restore();

  private:
    void KeepChanging(const std::stop_token& stop, const std::string& content) const;
    std::filesystem::path aside() const { return m_path.string() + ".aside"; }

    std::filesystem::path m_path;
    bool m_taken = false;
    int m_writer = -1;  // of a silent pipe
    std::jthread m_changer;
};

}  // namespace kxtest

#endif  // KXEPINFO_TESTS_E2E_HOSTILE_SHAPES_H
