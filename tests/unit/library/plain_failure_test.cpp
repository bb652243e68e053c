// Each function of the interface that may fail does so once, in an otherwise ordinary life of the
// module: it comes to its end, keeps to the rules, gives everything back and lives again.
#include <gmock/gmock.h>

#include <filesystem>
#include <ostream>

#include "answer_frames.h"
#include "plain_agent/handles.h"
#include "plain_agent/loop.h"
#include "plain_agent/message.h"
#include "plain_agent/trace_events.h"
#include "plain_agent/watch.h"
#include "plain_agent_fixture.h"

namespace {

struct Failure {
    const char* function;
    int number = 1;              // which of its calls fails
    bool needs_address = false;  // it is called when there is a new IPv4 address
};

void PrintTo(const Failure& failure, std::ostream* out) {
    *out << "call " << failure.number << " of " << failure.function;
}

std::string NameOf(const testing::TestParamInfo<Failure>& row) {
    std::string name = row.param.function;
    std::erase(name, '_');
    return name + std::to_string(row.param.number);
}

class PlainFailure : public PlainAgent, public testing::WithParamInterface<Failure> {
  protected:
    // Everything that the module does, but it may stop at any point of it. The manager is missing
    // at first, so that the second upload tells everything again.
    void LiveOnce() {
        plain::AnswerRequestsTo("agt_cfgc", TwoAddresses());
        if (module->init() == 0) {
            plain::WaitUntilIdle();
            plain::AnswerRequestsTo("mgr_ei", Duplicate());
            RunCycleWithAddressRecord();
            (void)plain::Ask(1008, "");
            (void)plain::Ask(101, plain::Pack({{"status", "0"}}));
            plain::Notify(1002, plain::Pack({{"global", "1"}}));
            plain::WaitUntilIdle();
        }
        Stop();
        std::filesystem::remove(kxtest::InstallationRoot() / "config/server_port.ini");
    }

    static plain::Answer Duplicate() {
        auto duplicate = kxtest::Accepted();
        duplicate.set_duplicate(1);
        return ManagerSays(kxtest::Frame(duplicate));
    }

    // The address of the configuration centre is made in most lives; that the others are given back
    // is what matters.
    void CountStarts() {
        starts = static_cast<int>(plain::HandlesOut().size());
        EXPECT_LE(starts, 2);
    }
};

}  // namespace

TEST_P(PlainFailure, IsSurvived) {
    const Failure& failure = GetParam();
    if (failure.needs_address && !HasIpv4Address()) {
        GTEST_SKIP() << "no IPv4 address but that of the loop-back interface";
    }
    plain::LetFail(failure.function, failure.number);
    LiveOnce();
    EXPECT_TRUE(plain::HasFailed());

    const std::size_t uploads = plain::RequestsTo("mgr_ei").size();
    Start();
    EXPECT_EQ(plain::RequestsTo("mgr_ei").size(), uploads + 1);
    EXPECT_EQ(OnlineState(), "1");
    Stop();
    CountStarts();
}

INSTANTIATE_TEST_SUITE_P(
    EachFunction, PlainFailure,
    testing::Values(
        Failure{"cl_ev_create_isolated_thread"}, Failure{"cl_timerplus_start"},
        Failure{"cl_event_loop_once"}, Failure{"autolog_init"}, Failure{"nox_ipc_create"},
        // The manager's address, the configuration centre's.
        Failure{"nox_addr_create", 1}, Failure{"nox_addr_create", 2}, Failure{"nox_ipc_on_request"},
        Failure{"nox_ipc_msg_recv"}, Failure{"nox_ipc_response"},
        // The question for the configuration, an upload.
        Failure{"nox_ipc_make_request", 1}, Failure{"nox_ipc_make_request", 2},
        // At the start, in a cycle.
        Failure{"nox_get_hostid", 1}, Failure{"nox_get_hostid", 2}, Failure{"nox_get_vmidid"},
        // The question for the configuration, the answer to the user interface: without memory for
        // that one's message the module ends the process.
        Failure{"xmsg_new", 1}, Failure{"xmsg_add", 1}, Failure{"xmsg_add", 2},
        Failure{"xmsg_pack", 1}, Failure{"xmsg_pack", 2},
        // The configuration's answer, the list in it, a heartbeat, a notification.
        Failure{"xmsg_unpack", 1}, Failure{"xmsg_unpack", 2}, Failure{"xmsg_unpack", 3},
        Failure{"xmsg_unpack", 4},
        // The number of addresses, the list, an address, the heartbeat's status.
        Failure{"xmsg_get", 1}, Failure{"xmsg_get", 2}, Failure{"xmsg_get", 3},
        Failure{"xmsg_get", 5}, Failure{"kxe_str_find"}, Failure{"kxe_file_open"},
        // Paths: of the log's settings, of the log, of the mark of an uninstallation.
        Failure{"kxe_str_snprintf", 1}, Failure{"kxe_str_snprintf", 2},
        Failure{"kxe_str_snprintf", 3},
        // An address's key, the number of addresses.
        Failure{"str_snprintf", 1}, Failure{"str_snprintf", 3},
        // The two files that mark a clone.
        Failure{"kxe_dirutils_path_transform", 1}, Failure{"kxe_dirutils_path_transform", 2},
        Failure{"dirutils_path_transform"}, Failure{"read_container_id"},
        // The manager's address, the interval, the record of addresses.
        Failure{"kxe_ini_file_load", 1}, Failure{"kxe_ini_file_load", 4},
        Failure{"kxe_ini_file_get", 1}, Failure{"kxe_ini_file_get", 3},
        Failure{"kxe_ini_file_set", 1, true}, Failure{"kxe_ini_file_save", 1, true},
        // The connection's address, net_config.ini.
        Failure{"ini_file_load", 1}, Failure{"ini_file_load", 2}, Failure{"ini_file_get"},
        Failure{"ini_file_del"}, Failure{"ini_file_set"}, Failure{"ini_file_save"},
        Failure{"kxe_glock_init"}, Failure{"kxe_glock_acquire_timeout"},
        Failure{"kxe_bp_init", 1, true}, Failure{"kxe_bp_trace_utf8", 1, true}),
    NameOf);
