// No memory for the endpoint.
#include <gmock/gmock.h>

#include <cstdint>
#include <new>

#include "installation.h"
#include "ipc/epinfoipc.h"
#include "module/worker.h"
#include "recording_agent.h"

namespace {
bool no_endpoint = false;
}

// In front of the C++ library's.
void* operator new(std::size_t size, const std::nothrow_t& /*tag*/) noexcept {
    return no_endpoint && size == sizeof(CEpInfoIpc) ? nullptr : ::operator new(size);
}

using WorkerMemory = kxtest::InstallationTest;

TEST_F(WorkerMemory, WithoutAnEndpointTheWorkerReturns12) {
    UseRecordingAgent();
    int exit_flag = 0;
    no_endpoint = true;
    const auto result = reinterpret_cast<intptr_t>(epInfoSchedule(&exit_flag));
    no_endpoint = false;
    EXPECT_EQ(result, 12);
    const std::string bin = (kxtest::InstallationRoot() / "bin").string();
    EXPECT_THAT(Journal(), ::testing::ElementsAre(
                               "autolog_init " + bin + "/../var/log/agent/kxepinfo 5",
                               "3 kxepinfo: kxepinfo module work thread working...\\n",
                               "nox_get_hostid", "4 kxepinfo: s_AgentId= 4711",
                               "2 kxepinfo: new ipc struct failed with with error code: 12\\n",
                               "3 kxepinfo: kxepinfo module work thread exit\\n"));
}
