#include <cerrno>
#include <memory>
#include <string>
#include <utility>

#include "file_io.h"
#include "ini_document.h"
#include "ini_file.h"
#include "kxe_ini.h"

struct kxe_ini_file {
    kxebase::IniDocument document;
    bool incomplete = false;  // memory was missing for a change
};

namespace {

constexpr std::size_t kMostBytes = std::size_t{4} << 20;

// Runs `work`, which gives an errno value, behind the C interface: 0, or -1 with errno set.
template <class Work>
int Guarded(Work work) {
    int error = ENOMEM;
    try {
        error = work();
    } catch (...) {  // nothing but std::bad_alloc is thrown
        error = ENOMEM;
    }
    if (error != 0) {
        errno = error;
        return -1;
    }
    return 0;
}

int Load(const char* path, std::unique_ptr<kxe_ini_file>& loaded) {
    std::string text;
    if (const int error = kxebase::ReadWholeFile(path, kMostBytes, text); error != 0) {
        return error;
    }
    if (text.find('\0') != std::string::npos) {
        return EINVAL;
    }
    auto file = std::make_unique<kxe_ini_file>();
    if (!file->document.Read(text)) {
        return ENOMEM;
    }
    loaded = std::move(file);
    return 0;
}

// The functions behind both families. The families do not call each other, so that either can be
// replaced alone in front of this library.

kxe_ini_file* LoadFile(const char* path) {
    std::unique_ptr<kxe_ini_file> loaded;
    (void)Guarded([&] { return path == nullptr ? EINVAL : Load(path, loaded); });
    return loaded.release();
}

const char* GetValue(const kxe_ini_file* f, const char* section, const char* key) {
    const char* value = nullptr;
    (void)Guarded([&] {
        if (f == nullptr || section == nullptr || key == nullptr) {
            return EINVAL;
        }
        value = f->document.Get(section, key);
        return value == nullptr ? ENOENT : 0;
    });
    return value;
}

// As Guarded, for a change.
template <class Work>
int Change(kxe_ini_file* f, Work work) {
    const int result = Guarded(work);
    if (result != 0 && errno == ENOMEM) {
        f->incomplete = true;
    }
    return result;
}

int SetValue(kxe_ini_file* f, const char* section, const char* key, const char* value) {
    return Change(f, [&] {
        const bool given = f != nullptr && section != nullptr && key != nullptr && value != nullptr;
        return given ? f->document.Set(section, key, value) : EINVAL;
    });
}

int RemoveSection(kxe_ini_file* f, const char* section) {
    return Change(f, [&] {
        if (f == nullptr || section == nullptr) {
            return EINVAL;
        }
        f->document.Remove(section);
        return 0;
    });
}

int SaveFile(kxe_ini_file* f, const char* path) {
    return Guarded([&] {
        if (f == nullptr || path == nullptr) {
            return EINVAL;
        }
        if (f->incomplete) {
            return ENOMEM;
        }
        const std::string text = f->document.Text();
        return text.size() > kMostBytes ? EFBIG : kxebase::ReplaceFile(path, text);
    });
}

}  // namespace

kxe_ini_file* kxe_ini_file_load(const char* path) {
    return LoadFile(path);
}

const char* kxe_ini_file_get(kxe_ini_file* f, const char* section, const char* key) {
    return GetValue(f, section, key);
}

int kxe_ini_file_set(kxe_ini_file* f, const char* section, const char* key, const char* value) {
    return SetValue(f, section, key, value);
}

int kxe_ini_file_del(kxe_ini_file* f, const char* section) {
    return RemoveSection(f, section);
}

int kxe_ini_file_save(kxe_ini_file* f, const char* path, int /*flags*/) {
    return SaveFile(f, path);
}

void kxe_ini_file_free(kxe_ini_file* f) {
    delete f;
}

ini_file* ini_file_load(const char* path) {
    return LoadFile(path);
}

const char* ini_file_get(ini_file* f, const char* section, const char* key) {
    return GetValue(f, section, key);
}

int ini_file_set(ini_file* f, const char* section, const char* key, const char* value) {
    return SetValue(f, section, key, value);
}

int ini_file_del(ini_file* f, const char* section) {
    return RemoveSection(f, section);
}

int ini_file_save(ini_file* f, const char* path, int /*flags*/) {
    return SaveFile(f, path);
}

void ini_file_free(ini_file* f) {
    delete f;
}
