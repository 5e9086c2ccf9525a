#pragma once

#include <algorithm>
#include <cstddef>
#include <iterator>

/// Whether a table of command codes has this one.
template <std::size_t count>
bool HasCode(const int (&table)[count], int code)
{
    return std::find(std::begin(table), std::end(table), code) != std::end(table);
}
