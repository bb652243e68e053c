// Leads what the protobuf runtime has to say into the module's log; by itself it would write to the
// standard error of a process that is not ours.
#ifndef KXEPINFO_MODULE_PROTOBUF_LOG_H
#define KXEPINFO_MODULE_PROTOBUF_LOG_H

// While it lives, the thread that made it logs the runtime's messages at level 2, fatal ones at
// level 1, under the tag kxepproto. The runtime has one handler for the whole process, which may
// belong to the host: other threads' messages go to the handler found before, and it is put back at
// the end. One at a time; to be destroyed on the thread that made it.
class ProtobufLog {
  public:
    ProtobufLog();
    ~ProtobufLog();
    ProtobufLog(const ProtobufLog&) = delete;
    ProtobufLog& operator=(const ProtobufLog&) = delete;
};

#endif  // KXEPINFO_MODULE_PROTOBUF_LOG_H
