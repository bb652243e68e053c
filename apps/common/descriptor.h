// A file descriptor, owned.
#ifndef KX_APPS_COMMON_DESCRIPTOR_H
#define KX_APPS_COMMON_DESCRIPTOR_H

#include <unistd.h>

#include <utility>

namespace kxapp {

// Closes it at the end; what close has to say is not asked. Negative: none.
class Descriptor {
  public:
    explicit Descriptor(int number = -1) : m_number(number) {}
    Descriptor(Descriptor&& other) noexcept : m_number(std::exchange(other.m_number, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(m_number, other.m_number);
        return *this;
    }
    ~Descriptor() { reset(-1); }

    int number() const { return m_number; }

    // Takes another one in its place.
    void reset(int number) {
        if (m_number >= 0) {
            (void)close(m_number);
        }
        m_number = number;
    }

  private:
    int m_number;
};

}  // namespace kxapp

#endif  // KX_APPS_COMMON_DESCRIPTOR_H
