// One collection cycle after another against a machine that a test lays down.
#ifndef KXEPINFO_TESTS_UNIT_MODULE_CYCLE_FIXTURE_H
#define KXEPINFO_TESTS_UNIT_MODULE_CYCLE_FIXTURE_H

#include <gtest/gtest.h>

#include <memory>

#include "epinfo.pb.h"
#include "fixed_collectors.h"
#include "installation.h"
#include "ipc/epinfoipc.h"
#include "module/cycle.h"
#include "recording_agent.h"

class Cycles : public kxtest::InstallationTest {
  protected:
    void SetUp() override {
        InstallationTest::SetUp();
        answers = &UseRecordingAgent();
        ResetCollectors();
        ASSERT_EQ(ipc.IpcInit(), 0);
        ClearJournal();
    }

    int Run() { return ProcessMain(&ipc, &exit_flag); }

    // Runs a cycle that must send, and gives what it has sent.
    bf_kxepinfo::epinfo RunToUpload() {
        const std::size_t before = SentUploads().size();
        (void)Run();
        EXPECT_EQ(SentUploads().size(), before + 1);
        bf_kxepinfo::epinfo upload;
        EXPECT_TRUE(upload.ParseFromString(LastUpload()));
        return upload;
    }

    Answers* answers = nullptr;
    CEpInfoIpc ipc;
    int exit_flag = 0;
};

#endif  // KXEPINFO_TESTS_UNIT_MODULE_CYCLE_FIXTURE_H
