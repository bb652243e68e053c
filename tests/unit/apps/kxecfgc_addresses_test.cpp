#include "kxecfgc/addresses.h"

#include "installation.h"

using kxecfgc::Addresses;

namespace {

class AddressFile : public kxtest::InstallationTest {
  protected:
    std::optional<Addresses> read(std::string_view content) {
        return kxecfgc::ReadAddresses(kxtest::WriteFile("config/cfgc.ini", content), fault);
    }
    std::string fault;
};

}  // namespace

TEST_F(AddressFile, ListsAddressesInTheOrderOfTheirNumbers) {
    EXPECT_EQ(read("; comment\n[multi_ip]\nip1=192.0.2.2\nip0=192.0.2.1\n[other]\nip2=x\n"),
              (Addresses{"192.0.2.1", "192.0.2.2"}));
}

TEST_F(AddressFile, MayHaveNoAddress) {
    EXPECT_EQ(read("[multi_ip]\n"), Addresses{});
    EXPECT_EQ(read(""), Addresses{});
}

TEST_F(AddressFile, HasMoreThanTenAddressesInNumericOrder) {
    std::string content = "[multi_ip]\n";
    Addresses expected;
    for (int i = 0; i < 12; ++i) {
        content += "ip" + std::to_string(i) + "=10.0.0." + std::to_string(i) + "\n";
        expected.push_back("10.0.0." + std::to_string(i));
    }
    EXPECT_EQ(read(content), expected);
}

TEST_F(AddressFile, MustExist) {
    EXPECT_EQ(kxecfgc::ReadAddresses("/nonexistent/cfgc.ini", fault), std::nullopt);
    EXPECT_EQ(fault, "cannot be opened or is no INI file");
}

TEST_F(AddressFile, MustHaveNoGap) {
    EXPECT_EQ(read("[multi_ip]\nip0=a\nip2=c\n"), std::nullopt);
    EXPECT_EQ(fault, "ip2 is there, but not ip1");
    EXPECT_EQ(read("[multi_ip]\nip1023=z\n"), std::nullopt);
    EXPECT_EQ(fault, "ip1023 is there, but not ip0");
}

TEST_F(AddressFile, MustNotNameAnEmptyAddress) {
    EXPECT_EQ(read("[multi_ip]\nip0=\n"), std::nullopt);
    EXPECT_EQ(fault, "ip0 is empty");
}

TEST_F(AddressFile, AddressesHave63BytesAtMost) {
    EXPECT_EQ(read("[multi_ip]\nip0=" + std::string(63, 'a') + "\n"),
              Addresses{std::string(63, 'a')});
    EXPECT_EQ(read("[multi_ip]\nip0=" + std::string(64, 'a') + "\n"), std::nullopt);
    EXPECT_EQ(fault, "ip0 is longer than 63 bytes");
}
