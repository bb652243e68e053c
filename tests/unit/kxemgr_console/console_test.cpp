// The console as the manager starts it, asked over a real connection.
#include "kxemgr/console/console.h"

#include <gmock/gmock.h>
#include <httplib.h>
#include <sys/stat.h>

#include <memory>

#include "installation.h"
#include "uploads.h"

namespace kxtest {
namespace {

using kxemgr::console::Console;
using kxemgr::console::Settings;
using testing::HasSubstr;

class ConsoleTest : public InstallationTest {
  protected:
    static Settings Local() {
        Settings settings;
        settings.listen = "127.0.0.1:0";
        settings.version = "0.1.0";
        return settings;
    }
    static std::unique_ptr<Console> Start(const Settings& settings) {
        std::string fault;
        auto console = Console::Start(settings, fault);
        EXPECT_EQ(fault, "");
        return console;
    }
    static std::string Fault(const Settings& settings) {
        std::string fault;
        EXPECT_EQ(Console::Start(settings, fault), nullptr);
        return fault;
    }
    static httplib::Client Browser(const Console& console) {
        const std::string& url = console.url();
        return httplib::Client("127.0.0.1", std::stoi(url.substr(url.rfind(':') + 1)));
    }
    static std::string Token() {
        const std::string file = WriteFile("config/token", "0123456789abcdef\n").string();
        EXPECT_EQ(chmod(file.c_str(), 0600), 0);
        return file;
    }
    static void Accepted(const kxemgr::Observer& observer, const kxapp::Upload& upload,
                         unsigned duplicate = 0) {
        bf_kxepinfo::epinfo_msg_respone answer;
        answer.set_status(1);
        answer.set_duplicate(duplicate);
        observer.on_upload(upload, "", answer);
    }
};

TEST_F(ConsoleTest, RemembersUploadsByItselfWithoutADatabase) {
    const auto console = Start(Local());
    Accepted(console->observer(), MakeUpload(42, 1000, "build-7"));
    auto browser = Browser(*console);
    EXPECT_THAT(browser.Get("/api/agents")->body, HasSubstr("\"host_name\": \"build-7\""));
    EXPECT_EQ(browser.Get("/")->status, 200);
}

TEST_F(ConsoleTest, CountsWhatTheManagerTells) {
    const auto console = Start(Local());
    const auto observer = console->observer();
    Accepted(observer, MakeUpload(42, 1000));
    Accepted(observer, MakeUpload(42, 2000, "copy", 2), 1);
    observer.on_upload(MakeUpload(0, 3000), "", {});
    observer.on_bad_upload();
    const std::string metrics = Browser(*console).Get("/metrics")->body;
    EXPECT_THAT(metrics, HasSubstr("\nkxemgr_uploads_total{result=\"accepted\"} 2\n"));
    EXPECT_THAT(metrics, HasSubstr("\nkxemgr_uploads_total{result=\"refused\"} 1\n"));
    EXPECT_THAT(metrics, HasSubstr("\nkxemgr_duplicate_uploads_total 1\n"));
    EXPECT_THAT(metrics, HasSubstr("\nkxemgr_bad_requests_total 1\n"));
    EXPECT_THAT(metrics, HasSubstr("\nkxemgr_agents 1\n"));
}

TEST_F(ConsoleTest, SendsEventsWhileSomebodyReads) {
    const auto console = Start(Local());
    const auto observer = console->observer();
    auto browser = Browser(*console);
    std::string received;
    (void)browser.Get("/api/events", [&](const char* data, std::size_t size) {
        if (received.empty()) {
            Accepted(observer, MakeUpload(0, 1000));  // of no agent
            Accepted(observer, MakeUsage(42, 2000, 5));
        }
        received.append(data, size);
        return received.find("\"id\": 42") == std::string::npos;
    });
    EXPECT_THAT(received, HasSubstr("event: upload\ndata: {\"id\": 42, \"time\": 2000, "));
    EXPECT_THAT(received, testing::Not(HasSubstr("\"id\": 0")));
}

TEST_F(ConsoleTest, EndsWithReadersOfEventsThere) {
    auto console = Start(Local());
    auto browser = Browser(*console);
    std::string received;
    (void)browser.Get("/api/events", [&](const char* data, std::size_t size) {
        received.append(data, size);
        console.reset();
        return true;
    });
    EXPECT_THAT(received, HasSubstr("event: hello"));
}

TEST_F(ConsoleTest, AnAddressThatOthersReachNeedsAToken) {
    Settings settings = Local();
    settings.listen = "0.0.0.0:0";
    EXPECT_EQ(Fault(settings), "an address that other machines reach needs --http-token-file");
    settings.token_file = Token();
    EXPECT_NE(Start(settings), nullptr);
}

TEST_F(ConsoleTest, ATokenIsAskedForOnLoopbackTooWhenThereIsOne) {
    Settings settings = Local();
    settings.token_file = Token();
    const auto console = Start(settings);
    auto browser = Browser(*console);
    EXPECT_EQ(browser.Get("/api/agents")->status, 401);
    EXPECT_EQ(browser.Get("/api/agents?token=0123456789abcdef")->status, 401);
    const auto session =
        browser.Get("/api/session", {{"Authorization", "Bearer 0123456789abcdef"}});
    ASSERT_EQ(session->status, 200);
    const std::string cookie = session->get_header_value("Set-Cookie");
    EXPECT_THAT(cookie, testing::Not(HasSubstr("0123456789abcdef0")));
    const std::string pair = cookie.substr(0, cookie.find(';'));
    EXPECT_EQ(browser.Get("/api/agents", {{"Cookie", pair}})->status, 200);
}

TEST_F(ConsoleTest, WhatIsWrongWithTheSettingsIsTold) {
    Settings settings = Local();
    settings.token_file = "/no/such/file";
    EXPECT_EQ(Fault(settings), "token file /no/such/file: No such file or directory");
    settings = Local();
    settings.listen = "nowhere";
    EXPECT_EQ(Fault(settings), "'nowhere' is not an address and a port, as 127.0.0.1:8627");
    const auto console = Start(Local());
    settings.listen = console->url().substr(7, console->url().size() - 8);
    EXPECT_EQ(Fault(settings), "cannot listen on " + settings.listen + ": Address already in use");
}

TEST_F(ConsoleTest, ANameIsOursWhenItIsGiven) {
    Settings settings = Local();
    settings.host_names = {"manager.example.net"};
    const auto console = Start(settings);
    auto browser = Browser(*console);
    EXPECT_EQ(browser.Get("/api/agents", {{"Host", "manager.example.net"}})->status, 200);
    EXPECT_EQ(browser.Get("/api/agents", {{"Host", "evil.example"}})->status, 403);
}

}  // namespace
}  // namespace kxtest
