// A file descriptor, owned.
#ifndef KX_APPS_KXEMGR_CONSOLE_DESCRIPTOR_H
#define KX_APPS_KXEMGR_CONSOLE_DESCRIPTOR_H

#include <unistd.h>

#include <utility>

namespace kxemgr::console {

class Descriptor {
  public:
    // Negative: none.
    explicit Descriptor(int number = -1) : m_number(number) {}
    Descriptor(Descriptor&& other) noexcept : m_number(std::exchange(other.m_number, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(m_number, other.m_number);
        return *this;
    }
    ~Descriptor() {
        if (m_number >= 0) {
            (void)close(m_number);
        }
    }
    int number() const { return m_number; }

  private:
    int m_number;
};

}  // namespace kxemgr::console

#endif  // KX_APPS_KXEMGR_CONSOLE_DESCRIPTOR_H
