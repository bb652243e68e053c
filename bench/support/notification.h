// A socket of the kind that a service manager gives its services, to hear when one is ready.
#ifndef KXEPINFO_BENCH_SUPPORT_NOTIFICATION_H
#define KXEPINFO_BENCH_SUPPORT_NOTIFICATION_H

#include <string>

namespace kxbench {

class Notification {
  public:
    // Ends the program when there can be no socket.
    Notification();
    Notification(const Notification&) = delete;
    Notification& operator=(const Notification&) = delete;
    ~Notification();

    // For the environment of the service: "NOTIFY_SOCKET=...".
    std::string Variable() const { return "NOTIFY_SOCKET=@" + name_; }

    // Waits until the service says that it is ready. Ends the program after 30 s without.
    void WaitUntilReady() const;

  private:
    std::string name_;
    int socket_;
};

}  // namespace kxbench

#endif  // KXEPINFO_BENCH_SUPPORT_NOTIFICATION_H
