// Another INI library, in both of its families: sections, keys and values, comments not kept.
#include <cerrno>
#include <filesystem>
#include <fstream>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "guarded.h"
#include "handles.h"
#include "ini_file.h"
#include "kxe_ini.h"
#include "watch.h"

using plain::Call;

namespace {

using Section = std::map<std::string, std::string>;

constexpr char kKxeFamily[] = "kxe_ini_file";
constexpr char kOldFamily[] = "ini_file";

}  // namespace

struct kxe_ini_file {
    std::map<std::string, Section> sections;
    bool incomplete = false;                          // a change was lost
    std::unique_ptr<plain::GuardedBytes> last_value;  // dies when the next one is asked for
};

namespace {

std::string Trimmed(std::string_view text) {
    constexpr std::string_view kBlanks = " \t\r";
    const std::size_t begin = text.find_first_not_of(kBlanks);
    if (begin == std::string_view::npos) {
        return "";
    }
    return std::string(text.substr(begin, text.find_last_not_of(kBlanks) - begin + 1));
}

kxe_ini_file* Load(Call& call, const char* family, const char* path) {
    if (call.MustFail(EMFILE)) {
        return nullptr;
    }
    std::ifstream file(path);
    if (!file) {
        call.Failed(ENOENT);
        return nullptr;
    }
    auto document = std::make_unique<kxe_ini_file>();
    std::string section;
    for (std::string line; std::getline(file, line);) {
        const std::size_t equals = line.find('=');
        if (line.starts_with('[')) {
            section = Trimmed(std::string_view(line).substr(1, line.find(']') - 1));
        } else if (equals != std::string::npos && !line.starts_with(';')) {
            document->sections[section][Trimmed(line.substr(0, equals))] =
                Trimmed(line.substr(equals + 1));
        }
    }
    plain::HandOut(document.get(), family);
    return document.release();
}

const std::string* Find(const kxe_ini_file& document, const char* section, const char* key) {
    const auto keys = document.sections.find(section);
    if (keys == document.sections.end()) {
        return nullptr;
    }
    const auto value = keys->second.find(key);
    return value == keys->second.end() ? nullptr : &value->second;
}

const char* Get(Call& call, const char* family, kxe_ini_file* document, const char* section,
                const char* key) {
    if (!plain::IsOut(document, family, "an INI file's get") || call.MustFail(ENOENT)) {
        return nullptr;
    }
    document->last_value.reset();
    const std::string* const value = Find(*document, section, key);
    if (value == nullptr) {
        call.Failed(ENOENT);
        return nullptr;
    }
    document->last_value = std::make_unique<plain::GuardedBytes>(*value, 1);
    return document->last_value->data();
}

int Set(Call& call, const char* family, kxe_ini_file* document, const char* section,
        const char* key, const char* value) {
    if (!plain::IsOut(document, family, "an INI file's set")) {
        return -1;
    }
    if (call.MustFail(ENOMEM)) {
        document->incomplete = true;
        return -1;
    }
    if (std::string_view(value).find_first_of("\r\n") != std::string_view::npos) {
        call.Failed(EINVAL);
        return -1;
    }
    document->sections[section][key] = value;
    return 0;
}

int Save(Call& call, const char* family, const kxe_ini_file* document, const char* path) {
    if (!plain::IsOut(document, family, "an INI file's save") || call.MustFail(ENOSPC)) {
        return -1;
    }
    if (document->incomplete) {
        call.Failed(ENOMEM);
        return -1;
    }
    const std::string unfinished = std::string(path) + ".plain";
    std::ofstream file(unfinished);
    for (const auto& [name, keys] : document->sections) {
        file << "[" << name << "]\n";
        for (const auto& [key, value] : keys) {
            file << key << "=" << value << "\n";
        }
    }
    file.close();
    std::error_code error;
    std::filesystem::rename(unfinished, path, error);
    if (!file || error) {
        call.Failed(EIO);
        return -1;
    }
    return 0;
}

void Free(const char* family, kxe_ini_file* document) {
    if (plain::TakeBack(document, family, "an INI file's free")) {
        delete document;
    }
}

}  // namespace

kxe_ini_file* kxe_ini_file_load(const char* path) {
    Call call("kxe_ini_file_load");
    return Load(call, kKxeFamily, path);
}

const char* kxe_ini_file_get(kxe_ini_file* f, const char* section, const char* key) {
    Call call("kxe_ini_file_get");
    return Get(call, kKxeFamily, f, section, key);
}

int kxe_ini_file_set(kxe_ini_file* f, const char* section, const char* key, const char* value) {
    Call call("kxe_ini_file_set");
    return Set(call, kKxeFamily, f, section, key, value);
}

int kxe_ini_file_save(kxe_ini_file* f, const char* path, int /*flags*/) {
    Call call("kxe_ini_file_save");
    return Save(call, kKxeFamily, f, path);
}

void kxe_ini_file_free(kxe_ini_file* f) {
    const Call call("kxe_ini_file_free");
    Free(kKxeFamily, f);
}

ini_file* ini_file_load(const char* path) {
    Call call("ini_file_load");
    return Load(call, kOldFamily, path);
}

const char* ini_file_get(ini_file* f, const char* section, const char* key) {
    Call call("ini_file_get");
    return Get(call, kOldFamily, f, section, key);
}

int ini_file_set(ini_file* f, const char* section, const char* key, const char* value) {
    Call call("ini_file_set");
    return Set(call, kOldFamily, f, section, key, value);
}

int ini_file_del(ini_file* f, const char* section) {
    Call call("ini_file_del");
    if (!plain::IsOut(f, kOldFamily, "ini_file_del") || call.MustFail(ENOMEM)) {
        return -1;
    }
    f->sections.erase(section);
    return 0;
}

int ini_file_save(ini_file* f, const char* path, int /*flags*/) {
    Call call("ini_file_save");
    return Save(call, kOldFamily, f, path);
}

void ini_file_free(ini_file* f) {
    const Call call("ini_file_free");
    Free(kOldFamily, f);
}
