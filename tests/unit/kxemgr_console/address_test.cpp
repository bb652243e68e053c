// Where the console listens, and by which names it is known.
#include "kxemgr/console/address.h"

#include <gmock/gmock.h>

using kxemgr::console::IsHostAllowed;
using kxemgr::console::ParseListenAddress;
using kxemgr::console::UrlOf;

namespace {

std::string Url(std::string_view text) {
    const auto address = ParseListenAddress(text);
    return address ? UrlOf(*address) + (address->loopback ? " loopback" : "") : "none";
}

}  // namespace

TEST(ListenAddress, OfThisMachineAlone) {
    EXPECT_EQ(Url("127.0.0.1:8627"), "http://127.0.0.1:8627/ loopback");
    EXPECT_EQ(Url("127.1.2.3:1"), "http://127.1.2.3:1/ loopback");
    EXPECT_EQ(Url("[::1]:65535"), "http://[::1]:65535/ loopback");
    EXPECT_EQ(Url("localhost:0"), "http://127.0.0.1:0/ loopback");
}

TEST(ListenAddress, ThatOthersReach) {
    EXPECT_EQ(Url("0.0.0.0:8627"), "http://0.0.0.0:8627/");
    EXPECT_EQ(Url("192.0.2.7:80"), "http://192.0.2.7:80/");
    EXPECT_EQ(Url("[::]:8627"), "http://[::]:8627/");
    EXPECT_EQ(Url("[fd00::2]:8627"), "http://[fd00::2]:8627/");
    // A mapped address is reached over the other protocol as well.
    EXPECT_EQ(Url("[::ffff:127.0.0.1]:80"), "http://[::ffff:127.0.0.1]:80/");
}

TEST(ListenAddress, ThatIsNone) {
    for (const char* text :
         {"", ":", "127.0.0.1", "127.0.0.1:", "127.0.0.1:65536", "127.0.0.1:-1", "127.0.0.1:80x",
          "::1:80", "[::1]", "[::1]80", "[::1:80", "[127.0.0.1]:80", "example.net:80", ":80",
          "127.0.0.1:80:80", "127.1:80"}) {
        EXPECT_EQ(Url(text), "none") << text;
    }
}

TEST(HostHeader, AddressesAndLocalhostAreOurs) {
    for (const char* host : {"127.0.0.1", "127.0.0.1:8627", "[::1]:8627", "[fd00::2]", "localhost",
                             "LocalHost:1", "192.0.2.7:80"}) {
        EXPECT_TRUE(IsHostAllowed(host, {})) << host;
    }
}

TEST(HostHeader, NamesAreNotUnlessTheyAreGiven) {
    for (const char* host : {"", "evil.example", "evil.example:8627", "localhost.evil.example",
                             "127.0.0.1.evil.example", "localhost:x", "[evil]:80", "[::1",
                             "127.0.0.1:", "localhost@evil.example", "manager"}) {
        EXPECT_FALSE(IsHostAllowed(host, {})) << host;
    }
    EXPECT_TRUE(IsHostAllowed("Manager.example.net:80", {"other", "manager.example.net"}));
    EXPECT_FALSE(IsHostAllowed("example.net", {"manager.example.net"}));
}
