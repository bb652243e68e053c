#include "kxectl/archive.h"

#include <archive.h>
#include <archive_entry.h>

#include <cerrno>
#include <memory>
#include <new>
#include <stdexcept>

namespace kxectl {

namespace {

struct FreeArchive {
    // Of one that is not whole it throws away what it was given.
    void operator()(archive* writer) const { (void)archive_write_free(writer); }
};
using Writer = std::unique_ptr<archive, FreeArchive>;

struct FreeEntry {
    void operator()(archive_entry* header) const { archive_entry_free(header); }
};
using Header = std::unique_ptr<archive_entry, FreeEntry>;

// The library is in C: no exception may pass through it.
la_ssize_t Append(archive* writer, void* packed, const void* bytes, std::size_t size) {
    try {
        static_cast<std::string*>(packed)->append(static_cast<const char*>(bytes), size);
        return static_cast<la_ssize_t>(size);
    } catch (const std::bad_alloc&) {
        archive_set_error(writer, ENOMEM, "no memory");
        return -1;
    }
}

void Check(archive* writer, la_ssize_t result) {
    if (result < ARCHIVE_OK) {
        const char* const reason = archive_error_string(writer);
        throw std::runtime_error(std::string("cannot make an archive: ") +
                                 (reason != nullptr ? reason : "no memory"));
    }
}

// `packed` must outlive the writer.
Writer OpenWriter(std::string& packed) {
    Writer writer(archive_write_new());
    if (writer == nullptr) {
        throw std::bad_alloc();
    }
    Check(writer.get(), archive_write_set_format_ustar(writer.get()));
    Check(writer.get(), archive_write_add_filter_gzip(writer.get()));
    // The time of packing is no fact of the content.
    Check(writer.get(),
          archive_write_set_filter_option(writer.get(), "gzip", "timestamp", nullptr));
    Check(writer.get(), archive_write_set_bytes_in_last_block(writer.get(), 1));  // no padding
    Check(writer.get(), archive_write_open(writer.get(), &packed, nullptr, Append, nullptr));
    return writer;
}

void WriteEntry(archive* writer, const Entry& entry, std::time_t time) {
    const Header header(archive_entry_new());
    if (header == nullptr) {
        throw std::bad_alloc();
    }
    archive_entry_set_pathname(header.get(), entry.name.c_str());
    archive_entry_set_filetype(header.get(), AE_IFREG);
    archive_entry_set_perm(header.get(), 0600);
    archive_entry_set_size(header.get(), static_cast<la_int64_t>(entry.content.size()));
    archive_entry_set_mtime(header.get(), time, 0);
    Check(writer, archive_write_header(writer, header.get()));
    Check(writer, archive_write_data(writer, entry.content.data(), entry.content.size()));
}

}  // namespace

std::string TarGz(const std::vector<Entry>& entries, std::time_t time) {
    std::string packed;
    const Writer writer = OpenWriter(packed);
    for (const Entry& entry : entries) {
        WriteEntry(writer.get(), entry, time);
    }
    Check(writer.get(), archive_write_close(writer.get()));
    return packed;
}

}  // namespace kxectl
