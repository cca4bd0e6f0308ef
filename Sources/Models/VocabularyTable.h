#pragma once

#include <cstddef>
#include <optional>
#include <string_view>

namespace tessarin
{

// What the tables of the closed vocabularies have in common: one row a value, in the order of the enumeration, with the members `value`
// and `rawText` and the texts of that vocabulary.

template <class Table>
[[nodiscard]] constexpr bool isInOrder(const Table& table)
{
    for (std::size_t index = 0; index < table.size(); ++index) {
        if (static_cast<std::size_t>(table[index].value) != index) {
            return false;
        }
    }
    return true;
}

template <class Table, class Value>
[[nodiscard]] constexpr const auto& rowOf(const Table& table, Value value)
{
    return table[static_cast<std::size_t>(value)];
}

// Exact and case-sensitive; absent for a text outside the table.
template <class Table>
[[nodiscard]] constexpr auto valueFromRawText(const Table& table, std::string_view text) -> std::optional<decltype(table[0].value)>
{
    for (const auto& row : table) {
        if (row.rawText == text) {
            return row.value;
        }
    }
    return std::nullopt;
}

} // namespace tessarin
