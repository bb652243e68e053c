#include "common/cli.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <new>
#include <string>

#include "common/complain.h"

namespace {

constexpr kxapp::FaultKind kOneKind[] = {{"silent", "does not answer"}};

// The name that complaints begin with.
std::string Name() {
    return program_invocation_short_name;
}

struct Result {
    std::optional<int> status;
    std::string output;
    std::string errors;
};

Result Read(CLI::App& app, std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "program");
    std::vector<char*> pointers;
    for (std::string& argument : arguments) {
        pointers.push_back(argument.data());
    }
    ::testing::internal::CaptureStdout();
    ::testing::internal::CaptureStderr();
    Result result;
    result.status =
        kxapp::ReadCommandLine(app, "1.2.3", static_cast<int>(pointers.size()), pointers.data());
    result.output = ::testing::internal::GetCapturedStdout();
    result.errors = ::testing::internal::GetCapturedStderr();
    return result;
}

int ThrowBadAlloc(int, char**) {
    throw std::bad_alloc();
}

}  // namespace

TEST(ReadCommandLine, GoesOnWithoutAWord) {
    CLI::App app{"A program.", "kxtest"};
    int number = 0;
    app.add_option("--number", number);
    const Result result = Read(app, {"--number", "7"});
    EXPECT_EQ(result.status, std::nullopt);
    EXPECT_EQ(number, 7);
    EXPECT_EQ(result.output + result.errors, "");
}

TEST(ReadCommandLine, AnswersVersionWithSuccess) {
    CLI::App app{"A program.", "kxtest"};
    const Result result = Read(app, {"--version"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output, "kxtest 1.2.3\n");
    EXPECT_EQ(result.errors, "");
}

TEST(ReadCommandLine, AnswersHelpWithSuccess) {
    CLI::App app{"A program.", "kxtest"};
    app.footer("Exit status: 0.");
    const Result result = Read(app, {"--help"});
    EXPECT_EQ(result.status, 0);
    EXPECT_EQ(result.output,
              "A program.\n"
              "Usage: kxtest [OPTIONS]\n"
              "\n"
              "Options:\n"
              "  -h,--help                 Print this help message and exit\n"
              "  --version                 Print the version and exit\n"
              "\n"
              "Exit status: 0.\n");
    EXPECT_EQ(result.errors, "");
}

TEST(ReadCommandLine, TellsAMistakeInOneLine) {
    CLI::App app{"A program.", "kxtest"};
    const Result result = Read(app, {"--nonsense"});
    EXPECT_EQ(result.status, 64);
    EXPECT_EQ(result.output, "");
    EXPECT_EQ(result.errors, Name() +
                                 ": The following argument was not expected: --nonsense; see "
                                 "kxtest --help\n");
}

TEST(ReadCommandLine, NamesAnUnknownSubcommand) {
    CLI::App app{"A program.", "kxtest"};
    app.add_subcommand("online");
    app.require_subcommand(1);
    EXPECT_EQ(Read(app, {"onlin"}).errors,
              Name() + ": The following argument was not expected: onlin; see kxtest --help\n");
    EXPECT_EQ(Read(app, {}).errors, Name() + ": A subcommand is required; see kxtest --help\n");
}

TEST(ReadCommandLine, AddsFaultsToThePlanInTheirOrder) {
    CLI::App app{"A program.", "kxtest"};
    kxapp::FaultPlan plan(kOneKind);
    kxapp::AddFaultOption(app, plan, "answers");
    EXPECT_EQ(Read(app, {"--fault", "silent:1", "--fault=silent:1"}).status, std::nullopt);
    EXPECT_EQ(plan.take(), "silent");
    EXPECT_EQ(plan.take(), "silent");
    EXPECT_EQ(plan.take(), "");
}

TEST(ReadCommandLine, RefusesANumberOutsideItsRange) {
    for (const char* text : {"0", "11", "-1", "1.5", "x", "18446744073709551616"}) {
        CLI::App app{"A program.", "kxtest"};
        int number = 0;
        app.add_option("--number", number)->check(kxapp::WholeNumber(1, 10));
        const Result result = Read(app, {"--number", text});
        EXPECT_EQ(result.status, 64);
        EXPECT_EQ(result.errors, Name() + ": --number: '" + text +
                                     "' is not a number from 1 to 10; see kxtest --help\n");
    }
}

TEST(ReadCommandLine, TakesANumberInsideItsRange) {
    for (const char* text : {"1", "10"}) {
        CLI::App app{"A program.", "kxtest"};
        int number = 0;
        app.add_option("--number", number)->check(kxapp::WholeNumber(1, 10));
        EXPECT_EQ(Read(app, {"--number", text}).status, std::nullopt);
        EXPECT_EQ(std::to_string(number), text);
    }
}

TEST(ReadCommandLine, RefusesAnUnknownFault) {
    CLI::App app{"A program.", "kxtest"};
    kxapp::FaultPlan plan(kOneKind);
    kxapp::AddFaultOption(app, plan, "answers");
    const Result result = Read(app, {"--fault", "loud"});
    EXPECT_EQ(result.status, 64);
    EXPECT_EQ(result.errors, Name() + ": --fault: no such fault: 'loud'; see kxtest --help\n");
}

TEST(RunProgram, TurnsAnExceptionIntoALineAndAStatus) {
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(kxapp::RunProgram(ThrowBadAlloc, 0, nullptr), 1);
    EXPECT_EQ(kxapp::RunProgram(ThrowBadAlloc, 0, nullptr, 3), 3);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              Name() + ": std::bad_alloc\n" + Name() + ": std::bad_alloc\n");
}

TEST(Complain, WritesOneLineWhateverTheMessageHolds) {
    ::testing::internal::CaptureStderr();
    kxapp::Complain("peer %s: %d", "a\nforged: line\x1B[2J", 5);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(),
              Name() + ": peer a\\x0Aforged: line\\x1B[2J: 5\n");
}
