// Tests of the tracing bridge: an installation with fake libraries, and the log.
#ifndef KXEPINFO_TESTS_UNIT_TRACE_TRACE_FIXTURE_H
#define KXEPINFO_TESTS_UNIT_TRACE_TRACE_FIXTURE_H

#include <memory>
#include <string>

#include "fake_libraries/sdk_calls.h"
#include "installation.h"
#include "trace/kxebpapi.h"

namespace kxtest {

// Lays a library of tests/unit/trace/fake_libraries into the installation.
void InstallSdk(const std::string& name);
void InstallNoxipc(const std::string& name);

// An instance of the test's own. What it has loaded is unloaded with it, so that the next test may
// lay another library in its place.
struct UnloadApi {
    void operator()(KxebpApi* api) const;
};
using Api = std::unique_ptr<KxebpApi, UnloadApi>;
Api NewApi();

// What the fake SDK was called with; zeroed after each NewApi.
const SdkCalls& CallsOf(const KxebpApi& api);

class TraceTest : public InstallationTest {
  protected:
    void SetUp() override;
    void TearDown() override;
};

}  // namespace kxtest

#endif  // KXEPINFO_TESTS_UNIT_TRACE_TRACE_FIXTURE_H
