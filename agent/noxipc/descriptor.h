// Owner of a file descriptor.
#ifndef NOXIPC_DESCRIPTOR_H
#define NOXIPC_DESCRIPTOR_H

#include <unistd.h>

#include <utility>

namespace noxipc {

class Descriptor {
  public:
    Descriptor() = default;
    explicit Descriptor(int value) : value_(value) {}
    Descriptor(Descriptor&& other) noexcept : value_(std::exchange(other.value_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        if (this != &other) {
            Reset();
            value_ = std::exchange(other.value_, -1);
        }
        return *this;
    }
    ~Descriptor() { Reset(); }

    int get() const { return value_; }
    bool valid() const { return value_ >= 0; }
    int Release() { return std::exchange(value_, -1); }
    void Reset() {
        if (valid()) {
            (void)close(std::exchange(value_, -1));  // after an error the descriptor is gone too
        }
    }

  private:
    int value_ = -1;
};

}  // namespace noxipc

#endif  // NOXIPC_DESCRIPTOR_H
