#include "kxectl/archive.h"

#include <zlib.h>

#include <algorithm>
#include <array>
#include <limits>
#include <stdexcept>

namespace kxectl {

namespace {

constexpr std::size_t kBlock = 512;

// Where the fields of a header are, and how long they are with a closing zero.
struct Field {
    std::size_t offset;
    std::size_t size;
};
constexpr Field kName{0, 100};
constexpr Field kMode{100, 8};
constexpr Field kUser{108, 8};
constexpr Field kGroup{116, 8};
constexpr Field kSize{124, 12};
constexpr Field kTime{136, 12};
constexpr Field kChecksum{148, 8};
constexpr std::size_t kType = 156;
constexpr std::size_t kMagic = 257;

using Header = std::array<char, kBlock>;

// As many octal digits as there is room for before the closing zero.
void SetOctal(Header& header, const Field& field, unsigned long long number) {
    for (std::size_t digit = field.size - 1; digit > 0; --digit) {
        header[field.offset + digit - 1] = static_cast<char>('0' + (number & 7U));
        number >>= 3U;
    }
    header[field.offset + field.size - 1] = '\0';
}

Header MakeHeader(const Entry& entry, std::time_t time) {
    if (entry.name.empty() || entry.name.size() >= kName.size) {
        throw std::invalid_argument("not a name in an archive: " + entry.name);
    }
    Header header{};
    entry.name.copy(header.data() + kName.offset, kName.size - 1);
    SetOctal(header, kMode, 0600);
    SetOctal(header, kUser, 0);
    SetOctal(header, kGroup, 0);
    SetOctal(header, kSize, entry.content.size());
    SetOctal(header, kTime, static_cast<unsigned long long>(std::max(time, std::time_t{0})));
    header[kType] = '0';  // a regular file
    constexpr char kUstar[] = {'u', 's', 't', 'a', 'r', '\0', '0', '0'};
    std::copy(std::begin(kUstar), std::end(kUstar), header.begin() + kMagic);
    // The sum counts its own field as blanks.
    std::fill_n(header.begin() + kChecksum.offset, kChecksum.size, ' ');
    unsigned sum = 0;
    for (const char byte : header) {
        sum += static_cast<unsigned char>(byte);
    }
    SetOctal(header, {kChecksum.offset, kChecksum.size - 1}, sum);
    return header;
}

std::string Tar(const std::vector<Entry>& entries, std::time_t time) {
    std::string tar;
    for (const Entry& entry : entries) {
        const Header header = MakeHeader(entry, time);
        tar.append(header.data(), header.size());
        tar += entry.content;
        tar.resize((tar.size() + kBlock - 1) / kBlock * kBlock, '\0');
    }
    tar.resize(tar.size() + 2 * kBlock, '\0');  // the end
    return tar;
}

}  // namespace

std::string TarGz(const std::vector<Entry>& entries, std::time_t time) {
    std::string tar = Tar(entries, time);
    if (tar.size() > std::numeric_limits<uInt>::max()) {
        throw std::runtime_error("too much for an archive");
    }
    constexpr int kWithGzipHeader = 15 + 16;
    z_stream stream{};
    if (deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, kWithGzipHeader, 8,
                     Z_DEFAULT_STRATEGY) != Z_OK) {
        throw std::runtime_error("cannot compress");
    }
    std::string packed;
    int result = Z_MEM_ERROR;
    try {
        packed.resize(deflateBound(&stream, static_cast<uLong>(tar.size())));
        stream.next_in = reinterpret_cast<Bytef*>(tar.data());
        stream.avail_in = static_cast<uInt>(tar.size());
        stream.next_out = reinterpret_cast<Bytef*>(packed.data());
        stream.avail_out = static_cast<uInt>(packed.size());
        result = deflate(&stream, Z_FINISH);
    } catch (const std::bad_alloc&) {  // told below
    }
    packed.resize(stream.total_out);
    (void)deflateEnd(&stream);  // nothing of it is needed any more
    if (result != Z_STREAM_END) {
        throw std::runtime_error("cannot compress");
    }
    return packed;
}

}  // namespace kxectl
