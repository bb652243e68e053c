// The module's endpoint, sending to an instance that answers every upload with itself.
#ifndef KXEPINFO_BENCH_BUS_UPLOAD_CLIENT_H
#define KXEPINFO_BENCH_BUS_UPLOAD_CLIENT_H

#include <string>

#include "ipc/epinfoipc.h"

class UploadClient {
  public:
    // Waits until the server, the bus instance of the manager's name, answers. Ends the program
    // when it does not.
    UploadClient();

    // Frames `payload` and hands it over, `count` times, each after the answer to the one before.
    // Returns microseconds a hand-over, the waiting for answers aside.
    double SendTime(const std::string& payload, int count);

  private:
    void Send(const std::string& payload);
    void WaitForAnswer();
    static void OnResponse(int status, unsigned type, const char* data, unsigned len, void* user);

    CEpInfoIpc ipc_;
    bool answered_ = false;
    int status_ = 0;
};

#endif  // KXEPINFO_BENCH_BUS_UPLOAD_CLIENT_H
