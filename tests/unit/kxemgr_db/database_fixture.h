// A database of the test's own, and uploads to keep in it.
#ifndef KXEPINFO_TESTS_UNIT_KXEMGR_DB_DATABASE_FIXTURE_H
#define KXEPINFO_TESTS_UNIT_KXEMGR_DB_DATABASE_FIXTURE_H

#include <gmock/gmock.h>

#include <memory>
#include <string>

#include "installation.h"
#include "kxemgr/database.h"

namespace kxtest {

// An upload with the bytes that it came as, which are here because it only refers to them.
struct SampleUpload {
    std::string payload;
    kxapp::Upload upload;
};

// Of that agent with that machine: host name, MAC and virtual machine's id are made of its number,
// 1 to 9. Received 1700000000.123, one second later for each `later_s`.
inline std::unique_ptr<SampleUpload> UploadOfMachine(std::uint32_t agent_id, int machine,
                                                     int later_s = 0) {
    auto sample = std::make_unique<SampleUpload>();
    kxapp::Upload& upload = sample->upload;
    upload.received = {1'700'000'000 + later_s, 123'000'000};
    upload.from = "agt_ei";
    upload.request_id = 7;
    upload.message.set_cmd(6);
    upload.message.set_agent_id(agent_id);
    upload.message.set_agent_timestamp(1'600'000'000);
    upload.message.mutable_rc_info()->set_cpu_usage(5);
    auto& base = *upload.message.mutable_sys_info()->mutable_base_info();
    base.set_host_node("host " + std::to_string(machine));
    base.set_uvmid(static_cast<std::uint64_t>(machine));
    upload.message.mutable_sys_info()->mutable_nw_info()->add_if_info()->set_if_mac(
        "00-00-00-00-00-0" + std::to_string(machine));
    sample->payload = upload.message.SerializeAsString();
    upload.payload = sample->payload;
    return sample;
}

class DatabaseTest : public InstallationTest {
  protected:
    static std::string File() { return (InstallationRoot() / "uploads.db").string(); }

    static std::unique_ptr<kxemgr::Database> Open() {
        std::string fault;
        auto database = kxemgr::Database::Open(File(), fault);
        EXPECT_EQ(fault, "");
        return database;
    }

    // Why it cannot be opened.
    static std::string FaultOfOpening(const std::string& file = File()) {
        std::string fault;
        EXPECT_EQ(kxemgr::Database::Open(file, fault), nullptr);
        return fault;
    }

    static bool Keep(kxemgr::Database& database, const std::unique_ptr<SampleUpload>& sample) {
        std::string fault;
        const auto duplicate = database.keep(sample->upload, fault);
        EXPECT_TRUE(duplicate.has_value()) << fault;
        return duplicate.value_or(false);
    }

    // Why it cannot be kept.
    static std::string FaultOfKeeping(kxemgr::Database& database,
                                      const std::unique_ptr<SampleUpload>& sample) {
        std::string fault;
        EXPECT_EQ(database.keep(sample->upload, fault), std::nullopt);
        return fault;
    }

    // The first column of the first row, as another program would see it; "no row" without one.
    static std::string Ask(const char* sql) {
        const kxemgr::Connection connection = kxemgr::OpenConnection(File(), 0);
        kxemgr::Statement statement(*connection, sql);
        return statement.step() ? statement.text(0) : "no row";
    }

    static void Do(const char* sql) { kxemgr::Execute(*kxemgr::OpenConnection(File(), 0), sql); }
};

}  // namespace kxtest

#endif  // KXEPINFO_TESTS_UNIT_KXEMGR_DB_DATABASE_FIXTURE_H
