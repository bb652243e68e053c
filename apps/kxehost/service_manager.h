// Telling the service manager how far we are: the notification protocol of sd_notify(3), a datagram
// of "NAME=VALUE" lines to the Unix socket named in the environment variable NOTIFY_SOCKET. A
// function of our own instead of a library, to keep the host small.
#ifndef KX_APPS_KXEHOST_SERVICE_MANAGER_H
#define KX_APPS_KXEHOST_SERVICE_MANAGER_H

#include <cstdint>
#include <string>

namespace kxehost {

class ServiceManager {
  public:
    // Takes the socket's address out of the environment, so that programs that the module starts do
    // not inherit it. Without one, nothing is ever sent. To be made while no other thread runs.
    ServiceManager();

    void ready() const;      // also the end of a reload
    void reloading() const;  // with the monotonic time, which Type=notify-reload asks for
    void stopping() const;

  private:
    // A failure is told once a message, on standard error, and changes nothing else.
    void send(const std::string& message) const;

    std::string m_socket;  // a path, or "@" and an abstract name; empty: nobody listens
};

}  // namespace kxehost

#endif  // KX_APPS_KXEHOST_SERVICE_MANAGER_H
