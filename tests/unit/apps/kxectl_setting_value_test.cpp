#include "kxectl/setting_value.h"

#include <gtest/gtest.h>

using kxectl::ValueInEffect;
using kxectl::Written;

namespace {

struct SettingRow {
    ValueInEffect (*read)(const Written& written);
    Written written;
    std::string value;
    bool is_default;
    std::string fault;
};

class SettingValue : public testing::TestWithParam<SettingRow> {};

constexpr char kNoInterval[] = "is no number from 2: 40 counts";
constexpr char kNoLevel[] = "is none of 1, 2, 3 and 4: 3 counts";
constexpr char kNoGroups[] = "is no list of group numbers: what is no number lets nobody in";

}  // namespace

TEST_P(SettingValue, IsReadAsTheAgentReadsIt) {
    const SettingRow& row = GetParam();
    const ValueInEffect in_effect = row.read(row.written);
    EXPECT_EQ(in_effect.value, row.value);
    EXPECT_EQ(in_effect.is_default, row.is_default);
    EXPECT_EQ(in_effect.fault, row.fault);
}

INSTANTIATE_TEST_SUITE_P(
    Interval, SettingValue,
    testing::Values(SettingRow{kxectl::ReadInterval, std::nullopt, "40", true, ""},
                    SettingRow{kxectl::ReadInterval, "60", "60", false, ""},
                    SettingRow{kxectl::ReadInterval, "2", "2", false, ""},
                    SettingRow{kxectl::ReadInterval, "1", "40", true, kNoInterval},
                    SettingRow{kxectl::ReadInterval, "-5", "40", true, kNoInterval},
                    SettingRow{kxectl::ReadInterval, "", "40", true, kNoInterval},
                    SettingRow{kxectl::ReadInterval, "often", "40", true, kNoInterval},
                    SettingRow{kxectl::ReadInterval, "60s", "60", false, "is read as 60"},
                    SettingRow{kxectl::ReadInterval, "4294967301", "5", false, "is read as 5"},
                    SettingRow{kxectl::ReadInterval, "2147483", "2147483", false, ""},
                    SettingRow{kxectl::ReadInterval, "2147484", "2147484", false,
                               "is above 2147483: after the first upload none may follow"}));

INSTANTIATE_TEST_SUITE_P(
    LogLevel, SettingValue,
    testing::Values(SettingRow{kxectl::ReadLogLevel, std::nullopt, "3", true, ""},
                    SettingRow{kxectl::ReadLogLevel, "1", "1", false, ""},
                    SettingRow{kxectl::ReadLogLevel, "4", "4", false, ""},
                    SettingRow{kxectl::ReadLogLevel, "0", "3", true, kNoLevel},
                    SettingRow{kxectl::ReadLogLevel, "5", "3", true, kNoLevel},
                    SettingRow{kxectl::ReadLogLevel, "04", "3", true, kNoLevel},
                    SettingRow{kxectl::ReadLogLevel, "", "3", true, kNoLevel}));

INSTANTIATE_TEST_SUITE_P(
    Groups, SettingValue,
    testing::Values(SettingRow{kxectl::ReadGroups, std::nullopt, "", true, ""},
                    SettingRow{kxectl::ReadGroups, "", "", false, ""},
                    SettingRow{kxectl::ReadGroups, " 100 , 27,", "100,27", false, ""},
                    SettingRow{kxectl::ReadGroups, "100,adm", "100", false, kNoGroups},
                    SettingRow{kxectl::ReadGroups, "-1", "", false, kNoGroups},
                    SettingRow{kxectl::ReadGroups, "4294967294", "4294967294", false, ""},
                    SettingRow{kxectl::ReadGroups, "4294967295", "", false, kNoGroups}));

INSTANTIATE_TEST_SUITE_P(
    Addresses, SettingValue,
    testing::Values(SettingRow{kxectl::ReadManager, std::nullopt, "", true,
                               "is missing: uploads name no manager"},
                    SettingRow{kxectl::ReadManager, "10.0.0.1", "10.0.0.1", false, ""},
                    SettingRow{kxectl::ReadLocalAddress, std::nullopt, "", true,
                               "is missing: an error is logged in every cycle"},
                    SettingRow{kxectl::ReadLocalAddress, "", "", false, ""},
                    SettingRow{kxectl::ReadLocalAddress, "192.0.2.2", "192.0.2.2", false, ""},
                    SettingRow{kxectl::ReadLocalAddress, "127.0.0.1", "127.0.0.1", false,
                               "is the loop-back address: an error is logged in every cycle"}));
