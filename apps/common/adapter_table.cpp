#include "common/adapter_table.h"

#include <algorithm>
#include <array>
#include <vector>

#include "common/words.h"

namespace kxapp {

namespace {

using google::protobuf::RepeatedPtrField;

// Label, MAC, IPv4, IPv6.
using Row = std::array<std::string, 4>;

// No MAC and no address is longer; what is pushes the rest of its row aside.
constexpr std::size_t kWidestColumn = 45;

std::string AddressAt(const RepeatedPtrField<std::string>& addresses, int index) {
    return index < addresses.size() ? ShownText(addresses[index]) : std::string();
}

void AppendRows(std::vector<Row>& rows, const std::string& label,
                const bf_kxepinfo::epinfo_msg_if& adapter) {
    const int count = std::max({1, adapter.if_ipv4_size(), adapter.if_ipv6_size()});
    for (int i = 0; i < count; ++i) {
        rows.push_back({i == 0 ? label : "", i == 0 ? ShownText(adapter.if_mac()) : "",
                        AddressAt(adapter.if_ipv4(), i), AddressAt(adapter.if_ipv6(), i)});
    }
}

std::array<std::size_t, 4> ColumnWidths(const std::vector<Row>& rows) {
    std::array<std::size_t, 4> widths{};
    for (const Row& row : rows) {
        for (std::size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], std::min(row[i].size(), kWidestColumn));
        }
    }
    return widths;
}

std::string Line(const Row& row, const std::array<std::size_t, 4>& widths) {
    std::string line;
    std::size_t column = 0;
    for (std::size_t i = 0; i < row.size(); ++i) {
        if (!row[i].empty()) {
            line.resize(std::max(line.size(), column), ' ');
            line += row[i];
        }
        column = std::max(column + widths[i], line.size()) + 2;
    }
    return line + "\n";
}

}  // namespace

std::string AdapterTable(const bf_kxepinfo::epinfo_msg_nw& network) {
    if (network.if_info().empty()) {
        return "adapter  none\n";
    }
    std::vector<Row> rows{{"adapter", "MAC", "IPv4", "IPv6"}};
    for (const auto& adapter : network.if_info()) {
        AppendRows(rows, rows.size() == 1 ? "link" : "", adapter);
    }
    const auto widths = ColumnWidths(rows);
    std::string table;
    for (const Row& row : rows) {
        table += Line(row, widths);
    }
    return table;
}

}  // namespace kxapp
