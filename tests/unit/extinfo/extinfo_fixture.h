// Collecting in an installation of the test's own.
#ifndef KXEPINFO_TESTS_UNIT_EXTINFO_EXTINFO_FIXTURE_H
#define KXEPINFO_TESTS_UNIT_EXTINFO_EXTINFO_FIXTURE_H

#include <gmock/gmock.h>

#include <string>

#include "collectors/extinfo.h"
#include "fake_agent.h"
#include "installation.h"
#include "log_capture.h"
#include "record_fields.h"

class ExtInfo : public kxtest::InstallationTest {
  protected:
    void SetUp() override {
        InstallationTest::SetUp();
        kxtest::ResetAgent();
        kxtest::ClearLog();
    }

    // What GetExtInfo gives, into a record that held a manager's address and reserved strings.
    static _stExtInfo Collect() {
        _stExtInfo found = Expected("old", "old", "old", "old", "old");
        EXPECT_EQ(GetExtInfo(found), 0);
        return found;
    }

    static _stExtInfo Expected(const char* agent, const char* virus, const char* patch,
                               const char* ioa, const char* ioc) {
        _stExtInfo expected;
        expected.agent_version = agent;
        expected.virus_version = virus;
        expected.patchdb_version = patch;
        expected.ioadb_version = ioa;
        expected.iocdb_version = ioc;
        expected.reserved_ext1 = "reserved 1";
        expected.reserved_ext2 = "reserved 2";
        expected.reserved_ext3 = "reserved 3";
        expected.mgr_addr = "10.9.9.9";
        return expected;
    }
    static _stExtInfo Zeros() { return Expected("0.0.0", "0", "0", "0", "0.0"); }

    static kxtest::LogLine Error(const std::string& text) { return {2, "extinfo", text}; }

    const std::string config = (kxtest::InstallationRoot() / "bin/../config/").string();
    const std::string json = config + "agent_cfg.json";
};

#endif  // KXEPINFO_TESTS_UNIT_EXTINFO_EXTINFO_FIXTURE_H
