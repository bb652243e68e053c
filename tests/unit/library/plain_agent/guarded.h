// Memory that ends where it says it ends.
#ifndef KXEPINFO_TESTS_UNIT_LIBRARY_PLAIN_AGENT_GUARDED_H
#define KXEPINFO_TESTS_UNIT_LIBRARY_PLAIN_AGENT_GUARDED_H

#include <cstddef>
#include <string_view>

#pragma GCC visibility push(default)
namespace plain {

// A copy of some bytes with zero bytes behind it, and behind those a page that nobody can read or
// write: who goes further ends the process, and so does who looks after the object's life. The copy
// may be written to. It is aligned to nothing.
class GuardedBytes {
  public:
    GuardedBytes(std::string_view bytes, std::size_t zeros);
    ~GuardedBytes();
    GuardedBytes(const GuardedBytes&) = delete;
    GuardedBytes& operator=(const GuardedBytes&) = delete;

    char* data() const { return m_data; }
    std::size_t size() const { return m_size; }  // without the zero bytes
    std::string_view view() const { return {m_data, m_size}; }

  private:
    std::size_t m_size;
    std::size_t m_mapped_size;
    void* m_mapping;
    char* m_data;
};

}  // namespace plain
#pragma GCC visibility pop

#endif  // KXEPINFO_TESTS_UNIT_LIBRARY_PLAIN_AGENT_GUARDED_H
