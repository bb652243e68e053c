#include "kxectl/archive.h"

#include <archive.h>
#include <archive_entry.h>
#include <gmock/gmock.h>

#include <memory>
#include <stdexcept>

using kxectl::TarGz;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

struct FreeReader {
    void operator()(archive* reader) const { archive_read_free(reader); }
};

std::string ContentOf(archive* reader, std::int64_t size) {
    std::string content(static_cast<std::size_t>(size), '\0');
    EXPECT_EQ(archive_read_data(reader, content.data(), content.size()), size);
    return content;
}

// A line for each entry: name, mode, owner, group, time, content.
std::vector<std::string> Listing(const std::string& packed) {
    const std::unique_ptr<archive, FreeReader> reader(archive_read_new());
    archive_read_support_format_tar(reader.get());
    archive_read_support_filter_gzip(reader.get());
    EXPECT_EQ(archive_read_open_memory(reader.get(), packed.data(), packed.size()), ARCHIVE_OK);
    std::vector<std::string> lines;
    archive_entry* entry = nullptr;
    int result = ARCHIVE_OK;
    while ((result = archive_read_next_header(reader.get(), &entry)) == ARCHIVE_OK) {
        EXPECT_EQ(archive_format(reader.get()), ARCHIVE_FORMAT_TAR_USTAR);
        EXPECT_EQ(archive_filter_code(reader.get(), 0), ARCHIVE_FILTER_GZIP);
        EXPECT_EQ(archive_entry_filetype(entry), unsigned{AE_IFREG});
        lines.push_back(std::string(archive_entry_pathname(entry)) + " " +
                        std::to_string(archive_entry_perm(entry)) + " " +
                        std::to_string(archive_entry_uid(entry)) + " " +
                        std::to_string(archive_entry_gid(entry)) + " " +
                        std::to_string(archive_entry_mtime(entry)) + " " +
                        ContentOf(reader.get(), archive_entry_size(entry)));
    }
    EXPECT_EQ(result, ARCHIVE_EOF);
    return lines;
}

}  // namespace

TEST(Archive, HoldsEachEntryAsAFileOfRootForItsOwnerAlone) {
    EXPECT_THAT(Listing(TarGz({{"a/b", "hello"}, {"c", ""}}, 1)),
                ElementsAre("a/b 384 0 0 1 hello", "c 384 0 0 1 "));
}

TEST(Archive, HoldsEveryByteOfALongEntry) {
    std::string content;
    for (std::size_t i = 0; i < 3'000'001; ++i) {
        content += static_cast<char>(i * i / 7);
    }
    EXPECT_THAT(Listing(TarGz({{"long", content}}, 0)), ElementsAre("long 384 0 0 0 " + content));
}

TEST(Archive, IsTheSameForTheSameEntries) {
    EXPECT_EQ(TarGz({{"a", "b"}}, 7), TarGz({{"a", "b"}}, 7));
}

TEST(Archive, RefusesANameThatDoesNotFit) {
    const std::string longest(100, 'x');
    EXPECT_THAT(Listing(TarGz({{longest, ""}}, 0)), ElementsAre(longest + " 384 0 0 0 "));
    EXPECT_THROW(TarGz({{longest + "x", ""}}, 0), std::runtime_error);
}

TEST(Archive, MayBeEmpty) {
    EXPECT_THAT(Listing(TarGz({}, 0)), IsEmpty());
}
