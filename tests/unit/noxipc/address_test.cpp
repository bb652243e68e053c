// Names and addresses.
#include "address.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "name.h"

namespace {

using noxipc::Address;
using noxipc::AddressCount;

TEST(Name, OfLettersDigitsAndTheThreeSignsIsValid) {
    EXPECT_TRUE(noxipc::IsValidName("agt_ei"));
    EXPECT_TRUE(noxipc::IsValidName("A-Z.a_z.09"));
    EXPECT_TRUE(noxipc::IsValidName("x"));
    EXPECT_TRUE(noxipc::IsValidName("x."));
}

TEST(Name, HasAtMost64Characters) {
    EXPECT_TRUE(noxipc::IsValidName(std::string(64, 'n')));
    EXPECT_FALSE(noxipc::IsValidName(std::string(65, 'n')));
    EXPECT_FALSE(noxipc::IsValidName(""));
}

TEST(Name, NeverLeadsOutOfItsDirectory) {
    for (const char* name : {".", "..", "../x", "a/b", "/x", "a..b", ".hidden", "x.."}) {
        EXPECT_FALSE(noxipc::IsValidName(name)) << name;
    }
}

TEST(Name, HoldsNothingButThat) {
    for (const char* name : {"a b", "a\nb", "a%b", "a\\b", "\xc3\xa4", "a:b", "a\x7f"}) {
        EXPECT_FALSE(noxipc::IsValidName(name)) << name;
    }
    EXPECT_FALSE(noxipc::IsValidName(std::string_view("a\0b", 3)));
}

TEST(Address, KeepsItsName) {
    const Address address(nox_addr_create("mgr_ei", 2, 2));
    ASSERT_NE(nullptr, address);
    EXPECT_STREQ("mgr_ei", nox_addr_name(address.get()));
}

TEST(Address, OfAnInvalidNameIsNull) {
    EXPECT_EQ(nullptr, nox_addr_create(nullptr, 0, 0));
    EXPECT_EQ(nullptr, nox_addr_create("", 0, 0));
    EXPECT_EQ(nullptr, nox_addr_create("../x", 0, 0));
    EXPECT_EQ(nullptr, nox_addr_create(std::string(65, 'n').c_str(), 0, 0));
}

TEST(Address, NullHasNoNameAndIsReleasedWithoutEffect) {
    EXPECT_EQ(nullptr, nox_addr_name(nullptr));
    nox_addr_destroy(nullptr);
    EXPECT_EQ(0U, AddressCount());
}

TEST(Address, OfEqualArgumentsIsTheSameHandle) {
    const Address first(nox_addr_create("agt_cfgc", 0, 0));
    const Address second(nox_addr_create("agt_cfgc", 0, 0));
    EXPECT_EQ(first.get(), second.get());
    EXPECT_EQ(1U, AddressCount());
}

TEST(Address, OfOtherArgumentsIsAnotherHandle) {
    const Address first(nox_addr_create("agt_cfgc", 0, 0));
    const Address other_a(nox_addr_create("agt_cfgc", 1, 0));
    const Address other_b(nox_addr_create("agt_cfgc", 0, 1));
    const Address other_name(nox_addr_create("agt_cfg", 0, 0));
    EXPECT_EQ(4U, AddressCount());
}

TEST(Address, NeverReleasedDoesNotMakeTheProcessGrow) {
    nox_addr_st* address = nullptr;
    for (int start = 0; start < 1000; ++start) {
        address = nox_addr_create("agt_cfgc", 0, 0);
    }
    EXPECT_EQ(1U, AddressCount());
    EXPECT_STREQ("agt_cfgc", nox_addr_name(address));
}

TEST(Address, LivesUntilItsLastHolderReleasesIt) {
    nox_addr_st* const first = nox_addr_create("mgr_ei", 2, 2);
    nox_addr_st* const second = nox_addr_create("mgr_ei", 2, 2);
    nox_addr_destroy(first);
    EXPECT_STREQ("mgr_ei", nox_addr_name(second));
    EXPECT_EQ(1U, AddressCount());
    nox_addr_destroy(second);
    EXPECT_EQ(0U, AddressCount());
}

TEST(Address, MayBeMadeAndReleasedOnAnyThread) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([] {
            for (int round = 0; round < 1000; ++round) {
                const Address address(nox_addr_create("mgr_ei", round % 3, 0));
                ASSERT_STREQ("mgr_ei", nox_addr_name(address.get()));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(0U, AddressCount());
}

}  // namespace
