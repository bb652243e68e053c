#include "common/cli.h"

#include <string>
#include <vector>

#include "common/complain.h"
#include "common/number.h"

namespace kxapp {

namespace {

// What is wrong, for people. CLI11 asks for a missing subcommand before it looks at a word that it
// does not know, which then is the mistake.
std::string Mistake(const CLI::App& app, const CLI::ParseError& error) {
    const std::vector<std::string> unknown = app.remaining();
    const bool lacks_subcommand =
        app.get_require_subcommand_min() > 0 && app.get_subcommands().empty();
    return lacks_subcommand && !unknown.empty()
               ? "The following argument was not expected: " + unknown.front()
               : error.what();
}

}  // namespace

std::optional<int> ReadCommandLine(CLI::App& app, const char* version, int argc, char** argv) {
    const std::string named_version = app.get_name() + " " + version;
    app.set_version_flag("--version", named_version, "Print the version and exit");
    app.get_formatter()->column_width(28);
    try {
        app.parse(argc, argv);
        return std::nullopt;
    } catch (const CLI::CallForHelp&) {
        return WriteOut(app.help()) ? kExitSuccess : kExitFailure;
    } catch (const CLI::CallForVersion&) {
        return WriteOut(named_version + "\n") ? kExitSuccess : kExitFailure;
    } catch (const CLI::ParseError& error) {
        Complain("%s; see %s --help", Mistake(app, error).c_str(), app.get_name().c_str());
        return kExitUsage;
    }
}

CLI::Validator WholeNumber(std::uint64_t lowest, std::uint64_t highest) {
    const auto check = [lowest, highest](const std::string& text) {
        const auto number = ReadNumber(text);
        return number && *number >= lowest && *number <= highest
                   ? std::string()
                   : "'" + text + "' is not a number from " + std::to_string(lowest) + " to " +
                         std::to_string(highest);
    };
    return CLI::Validator(check, "");
}

void AddFaultOption(CLI::App& app, FaultPlan& plan, const std::string& occasion) {
    const auto add = [&plan](const std::vector<std::string>& texts) {
        for (const std::string& text : texts) {
            if (const std::string wrong = plan.add(text); !wrong.empty()) {
                throw CLI::ValidationError("--fault", wrong);
            }
        }
    };
    app.add_option_function<std::vector<std::string>>(
           "--fault", add,
           "Misbehave for COUNT " + occasion +
               ", or for ever; may be given several times, one after the other")
        ->type_name("KIND[:COUNT]")
        ->allow_extra_args(false);
}

}  // namespace kxapp
