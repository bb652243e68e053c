#include <gmock/gmock.h>

#include "collectors/extinfo.h"
#include "log_capture.h"

using kxtest::LoggedLines;
using kxtest::LogLine;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

_stExtInfo Versions() {
    _stExtInfo versions;
    versions.agent_version = "6.0.1 R2";
    versions.virus_version = "1";
    versions.patchdb_version = "2";
    versions.ioadb_version = "3";
    versions.iocdb_version = "4.4";
    versions.mgr_addr = "10.0.0.1";
    return versions;
}

class ExtInfoChange : public ::testing::Test {
  protected:
    void SetUp() override { kxtest::ClearLog(); }

    static void ExpectChange(const _stExtInfo& previous, const _stExtInfo& current,
                             const std::string& told) {
        EXPECT_TRUE(IsExtChanged(previous, current));
        EXPECT_THAT(LoggedLines(),
                    ElementsAre(LogLine{3, "kxepinfo", "version information has changed\n"},
                                LogLine{3, "kxepinfo", told}));
        kxtest::ClearLog();
    }

    // Of the version that `field` names, to "x".
    static void ExpectChangeOf(std::string _stExtInfo::*field, const std::string& told) {
        _stExtInfo current = Versions();
        current.*field = "x";
        ExpectChange(Versions(), current, told);
    }

    static void ExpectNoChange(const _stExtInfo& current) {
        EXPECT_FALSE(IsExtChanged(Versions(), current));
        EXPECT_THAT(LoggedLines(), IsEmpty());
    }
};

}  // namespace

TEST_F(ExtInfoChange, IsNoneBetweenEqualRecords) {
    ExpectNoChange(Versions());
}

TEST_F(ExtInfoChange, IsThatOfAnyOfTheFiveVersions) {
    ExpectChangeOf(&_stExtInfo::agent_version,
                   "agent version: x, vdb version: 1, patchdb version: 2, ioa version: 3, ioc "
                   "version: 4.4 \n");
    ExpectChangeOf(&_stExtInfo::virus_version,
                   "agent version: 6.0.1 R2, vdb version: x, patchdb version: 2, ioa version: 3, "
                   "ioc version: 4.4 \n");
    ExpectChangeOf(&_stExtInfo::patchdb_version,
                   "agent version: 6.0.1 R2, vdb version: 1, patchdb version: x, ioa version: 3, "
                   "ioc version: 4.4 \n");
    ExpectChangeOf(&_stExtInfo::ioadb_version,
                   "agent version: 6.0.1 R2, vdb version: 1, patchdb version: 2, ioa version: x, "
                   "ioc version: 4.4 \n");
    ExpectChangeOf(&_stExtInfo::iocdb_version,
                   "agent version: 6.0.1 R2, vdb version: 1, patchdb version: 2, ioa version: 3, "
                   "ioc version: x \n");
}

TEST_F(ExtInfoChange, OfSeveralVersionsIsToldOnce) {
    ExpectChange(_stExtInfo{}, Versions(),
                 "agent version: 6.0.1 R2, vdb version: 1, patchdb version: 2, ioa version: 3, ioc "
                 "version: 4.4 \n");
}

TEST_F(ExtInfoChange, ToNoVersionsIsOne) {
    ExpectChange(Versions(), _stExtInfo{},
                 "agent version: , vdb version: , patchdb version: , ioa version: , ioc version:  "
                 "\n");
}

TEST_F(ExtInfoChange, LooksAtEveryByte) {
    _stExtInfo longer = Versions();
    longer.iocdb_version += '\0';
    ExpectChange(Versions(), longer,
                 "agent version: 6.0.1 R2, vdb version: 1, patchdb version: 2, ioa version: 3, ioc "
                 "version: 4.4 \n");
}

// The manager's address alone is no reason to report.
TEST_F(ExtInfoChange, IsNotAnotherManager) {
    _stExtInfo current = Versions();
    current.mgr_addr = "10.0.0.2";
    ExpectNoChange(current);
}

TEST_F(ExtInfoChange, IsNotInTheReservedStrings) {
    _stExtInfo current = Versions();
    current.reserved_ext1 = "1";
    current.reserved_ext2 = "2";
    current.reserved_ext3 = "3";
    ExpectNoChange(current);
}

TEST_F(ExtInfoChange, IsFoundTheSameWithTheLogDisabled) {
    kxtest::EnableLogLevels(2);
    EXPECT_TRUE(IsExtChanged(Versions(), _stExtInfo{}));
    EXPECT_EQ(kxtest::LogCalls(), 0);
}
