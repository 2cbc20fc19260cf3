// Those items of a list for which a condition holds.
//
// Threads: any.
#pragma once

#include <algorithm>
#include <iterator>

template <class List, class Condition>
List filtered(const List &items, Condition holds) {
    List result;
    std::ranges::copy_if(items, std::back_inserter(result), holds);
    return result;
}
