// A file descriptor, owned.
#ifndef KX_APPS_COMMON_DESCRIPTOR_H
#define KX_APPS_COMMON_DESCRIPTOR_H

#include <unistd.h>

namespace kxapp {

// Closes it at the end; what close has to say is not asked. Negative: none.
class Descriptor {
  public:
    explicit Descriptor(int number) : m_number(number) {}
    ~Descriptor() { reset(-1); }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

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
