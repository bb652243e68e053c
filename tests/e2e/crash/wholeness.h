// Whether files are whole. What is wrong is told in words; an empty text says that nothing is.
#ifndef KXEPINFO_TESTS_E2E_CRASH_WHOLENESS_H
#define KXEPINFO_TESTS_E2E_CRASH_WHOLENESS_H

#include <filesystem>
#include <map>
#include <string>
#include <string_view>

namespace kxtest {

using IniSection = std::map<std::string, std::string>;

// The sections of an INI text. Whatever is neither a section, a comment, an empty line nor
// "key=value" is under the section "?", with the line for the key; so is a last line without an
// end.
std::map<std::string, IniSection> ParseIni(const std::string& text);

// The section "multi_ip" of net_config.ini must be that of one configuration (traffic.h), the
// section "proxy" and the comment in front of it as they were in `kForeign`. `number` gets the
// configuration's number.
inline constexpr char kForeign[] = "; kept by others\n[proxy]\nport=8080\n";
std::string FaultOfMirror(const std::string& text, int& number);

// The record of the machine's addresses, as the installation began with it or with any addresses.
std::string FaultOfAddressRecord(const std::string& text);

// Every line of a log is whole, except that of those that a killed process was writing there may be
// the beginning: `torn` counts these.
std::string FaultOfLog(std::string_view text, int& torn);

// Every line is JSON; the last one may lack its end.
std::string FaultOfJsonLines(std::string_view text);

// How many files in a directory are hidden and begun for another one: ".NAME." and 16 digits.
int CountUnfinished(const std::filesystem::path& directory, const std::string& name);

}  // namespace kxtest

#endif  // KXEPINFO_TESTS_E2E_CRASH_WHOLENESS_H
