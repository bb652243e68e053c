// Who may read the console.
#include "kxemgr/console/access.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>

#include "installation.h"

namespace kxtest {
namespace {

using kxemgr::console::Credentials;
using kxemgr::console::IsSameSecret;
using kxemgr::console::Judge;
using kxemgr::console::MakeSessionKey;
using kxemgr::console::ReadTokenFile;
using kxemgr::console::Rules;
using kxemgr::console::SessionCookie;
using kxemgr::console::Verdict;

Credentials Plain() {
    return {"GET", "127.0.0.1:8627", "", "", "", false};
}

Rules WithToken() {
    return {{}, "0123456789abcdef", "key"};
}

TEST(Access, IsForWhoeverReachesItWithoutAToken) {
    EXPECT_EQ(Judge({}, Plain(), false), Verdict::kAllowed);
}

TEST(Access, OnlyGetAndHead) {
    Credentials credentials = Plain();
    credentials.method = "HEAD";
    EXPECT_EQ(Judge({}, credentials, false), Verdict::kAllowed);
    for (const char* method : {"POST", "PUT", "DELETE", "OPTIONS", "PATCH", "get", "TRACE", ""}) {
        credentials.method = method;
        EXPECT_EQ(Judge({}, credentials, true), Verdict::kBadMethod) << method;
    }
}

TEST(Access, NoBodies) {
    Credentials credentials = Plain();
    credentials.has_body = true;
    EXPECT_EQ(Judge({}, credentials, true), Verdict::kBadRequest);
}

TEST(Access, NotUnderAForeignNameEvenForThePage) {
    Credentials credentials = Plain();
    for (const char* host : {"evil.example", ""}) {
        credentials.host = host;
        EXPECT_EQ(Judge({}, credentials, false), Verdict::kForeign);
        EXPECT_EQ(Judge({}, credentials, true), Verdict::kForeign);
    }
}

TEST(Access, NotForAPageOfAnotherSite) {
    Credentials credentials = Plain();
    for (const char* site : {"cross-site", "same-site"}) {
        credentials.fetch_site = site;
        EXPECT_EQ(Judge({}, credentials, false), Verdict::kForeign);
        // A link to the page is no harm.
        EXPECT_EQ(Judge({}, credentials, true), Verdict::kAllowed);
    }
    for (const char* site : {"same-origin", "none"}) {
        credentials.fetch_site = site;
        EXPECT_EQ(Judge({}, credentials, false), Verdict::kAllowed);
    }
}

TEST(AccessWithToken, ThePageIsOpenAndNothingElse) {
    EXPECT_EQ(Judge(WithToken(), Plain(), true), Verdict::kAllowed);
    EXPECT_EQ(Judge(WithToken(), Plain(), false), Verdict::kNeedsToken);
}

TEST(AccessWithToken, TheTokenInItsHeader) {
    Credentials credentials = Plain();
    credentials.authorization = "Bearer 0123456789abcdef";
    EXPECT_EQ(Judge(WithToken(), credentials, false), Verdict::kAllowedByToken);
    for (const char* wrong :
         {"Bearer 0123456789abcdeF", "Bearer 0123456789abcde", "Bearer ",
          "Bearer 0123456789abcdef0", "0123456789abcdef", "Bearer key", "Basic 0123456789abcdef"}) {
        credentials.authorization = wrong;
        EXPECT_EQ(Judge(WithToken(), credentials, false), Verdict::kNeedsToken) << wrong;
    }
}

TEST(AccessWithToken, TheSessionInItsCookie) {
    Credentials credentials = Plain();
    for (const char* right : {"kxemgr_session=key", "a=1; kxemgr_session=key; b=2",
                              "a=kxemgr_session=no;kxemgr_session=key"}) {
        credentials.cookie = right;
        EXPECT_EQ(Judge(WithToken(), credentials, false), Verdict::kAllowed) << right;
    }
    for (const char* wrong :
         {"kxemgr_session=", "kxemgr_session", "kxemgr_session=kez", "kxemgr_session=key2",
          "xkxemgr_session=key", "kxemgr_session2=key", ";;;", "kxemgr_session=0123456789abcdef"}) {
        credentials.cookie = wrong;
        EXPECT_EQ(Judge(WithToken(), credentials, false), Verdict::kNeedsToken) << wrong;
    }
}

TEST(AccessWithToken, TheCookieIsForThisSiteAndForNoScript) {
    EXPECT_EQ(SessionCookie(WithToken()), "kxemgr_session=key; Path=/; HttpOnly; SameSite=Strict");
}

TEST(Secret, IsComparedWhole) {
    EXPECT_TRUE(IsSameSecret("secret", "secret"));
    EXPECT_FALSE(IsSameSecret("secret", "secretsecret"));
    EXPECT_FALSE(IsSameSecret("secret", ""));
    EXPECT_FALSE(IsSameSecret("", ""));
}

TEST(SessionKey, IsAnotherEachTime) {
    const std::string key = MakeSessionKey();
    EXPECT_EQ(key.size(), 64U);
    EXPECT_EQ(key.find_first_not_of("0123456789abcdef"), std::string::npos);
    EXPECT_NE(key, MakeSessionKey());
}

class TokenFile : public InstallationTest {
  protected:
    static std::string Write(std::string_view content, mode_t mode = 0600) {
        const std::string file = WriteFile("config/token", content).string();
        EXPECT_EQ(chmod(file.c_str(), mode), 0);
        return file;
    }
    static std::string Fault(const std::string& file) {
        std::string fault;
        EXPECT_EQ(ReadTokenFile(file, fault), std::nullopt);
        return fault;
    }
    static std::string Token(const std::string& file) {
        std::string fault;
        return ReadTokenFile(file, fault).value_or("fault: " + fault);
    }
};

TEST_F(TokenFile, ItsFirstLineCounts) {
    EXPECT_EQ(Token(Write("0123456789abcdef")), "0123456789abcdef");
    EXPECT_EQ(Token(Write("0123456789abcdef\nsecond")), "0123456789abcdef");
    EXPECT_EQ(Token(Write("0123456789abcdef\r\n", 0400)), "0123456789abcdef");
    EXPECT_EQ(Token(Write(std::string(256, '~') + "\n")), std::string(256, '~'));
}

TEST_F(TokenFile, ThatHoldsNoToken) {
    const std::string words =
        "its first line is not a token of 16 to 256 printable characters without blanks";
    EXPECT_EQ(Fault(Write("")), words);
    EXPECT_EQ(Fault(Write("0123456789abcde\n")), words);
    EXPECT_EQ(Fault(Write("\n0123456789abcdef")), words);
    EXPECT_EQ(Fault(Write("0123456789 abcdef")), words);
    EXPECT_EQ(Fault(Write("0123456789abcde\xC3\xA4")), words);
    EXPECT_EQ(Fault(Write(std::string(257, 'x'))), words);
    EXPECT_EQ(Fault(Write(std::string(100'000, 'x'))), words);
}

TEST_F(TokenFile, ThatOthersMayRead) {
    for (const mode_t mode : {0640U, 0604U, 0620U, 0602U, 0610U}) {
        EXPECT_EQ(Fault(Write("0123456789abcdef", mode)),
                  "others than its owner may read or change it; it needs mode 0600");
    }
}

TEST_F(TokenFile, ThatIsNoFile) {
    EXPECT_EQ(Fault((InstallationRoot() / "absent").string()), "No such file or directory");
    EXPECT_EQ(Fault(InstallationRoot().string()), "it is not a plain file");
    const std::string pipe = (InstallationRoot() / "pipe").string();
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_EQ(Fault(pipe), "it is not a plain file");
}

}  // namespace
}  // namespace kxtest
