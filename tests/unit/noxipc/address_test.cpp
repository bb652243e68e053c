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

// Counts the addresses of the test itself: other tests leave some behind on purpose, of other
// names.
class AddressTest : public testing::Test {
  protected:
    std::size_t Added() const { return AddressCount() - m_before; }

  private:
    std::size_t m_before = AddressCount();
};

TEST_F(AddressTest, KeepsItsName) {
    const Address address(nox_addr_create("also_counted", 2, 2));
    ASSERT_NE(nullptr, address);
    EXPECT_STREQ("also_counted", nox_addr_name(address.get()));
}

TEST_F(AddressTest, OfAnInvalidNameIsNull) {
    EXPECT_EQ(nullptr, nox_addr_create(nullptr, 0, 0));
    EXPECT_EQ(nullptr, nox_addr_create("", 0, 0));
    EXPECT_EQ(nullptr, nox_addr_create("../x", 0, 0));
    EXPECT_EQ(nullptr, nox_addr_create(std::string(65, 'n').c_str(), 0, 0));
}

TEST_F(AddressTest, NullHasNoNameAndIsReleasedWithoutEffect) {
    EXPECT_EQ(nullptr, nox_addr_name(nullptr));
    nox_addr_destroy(nullptr);
    EXPECT_EQ(0U, Added());
}

TEST_F(AddressTest, OfEqualArgumentsIsTheSameHandle) {
    const Address first(nox_addr_create("counted", 0, 0));
    const Address second(nox_addr_create("counted", 0, 0));
    EXPECT_EQ(first.get(), second.get());
    EXPECT_EQ(1U, Added());
}

TEST_F(AddressTest, OfOtherArgumentsIsAnotherHandle) {
    const Address first(nox_addr_create("counted", 0, 0));
    const Address other_a(nox_addr_create("counted", 1, 0));
    const Address other_b(nox_addr_create("counted", 0, 1));
    const Address other_name(nox_addr_create("agt_cfg", 0, 0));
    EXPECT_EQ(4U, Added());
}

TEST_F(AddressTest, NeverReleasedDoesNotMakeTheProcessGrow) {
    nox_addr_st* address = nullptr;
    for (int start = 0; start < 1000; ++start) {
        address = nox_addr_create("never_released", 0, 0);
    }
    EXPECT_GE(1U, Added());
    EXPECT_STREQ("never_released", nox_addr_name(address));
}

TEST_F(AddressTest, LivesUntilItsLastHolderReleasesIt) {
    nox_addr_st* const first = nox_addr_create("also_counted", 2, 2);
    nox_addr_st* const second = nox_addr_create("also_counted", 2, 2);
    nox_addr_destroy(first);
    EXPECT_STREQ("also_counted", nox_addr_name(second));
    EXPECT_EQ(1U, Added());
    nox_addr_destroy(second);
    EXPECT_EQ(0U, Added());
}

TEST_F(AddressTest, MayBeMadeAndReleasedOnAnyThread) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([] {
            for (int round = 0; round < 1000; ++round) {
                const Address address(nox_addr_create("also_counted", round % 3, 0));
                ASSERT_STREQ("also_counted", nox_addr_name(address.get()));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(0U, Added());
}

}  // namespace
