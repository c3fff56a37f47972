// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <vector>

namespace server {

/// The median of any stretch of a fixed row of numbers, in a time that doesn't depend on the length of the stretch.
///
/// It is a wavelet matrix over the ranks of the numbers: level by level, from the highest bit of the ranks to the
/// lowest, the row is parted into those with a 0 and those with a 1 there, both in their old order, and counting the
/// zeros up to a place tells where a stretch of the one row lies in the next. Source: F. Claude, G. Navarro, A.
/// Ordonez, "The wavelet matrix: An efficient wavelet tree for large alphabets", Information Systems 47, 2015.
class RangeMedian
{
public:
    /// At most 65535 numbers, none of them NaN.
    explicit RangeMedian(const std::vector<double>& values);

    /// Of the numbers from `first` to `last`, both inside the row and counted in, `first` not beyond `last`; of an even
    /// number of them the upper one of the two in the middle.
    double median(int first, int last) const;

private:
    /// For each level: how many zeros stand before a place of its row, with the number of all zeros at the end.
    std::vector<std::vector<std::uint16_t>> m_zeros;
    std::vector<double> m_sorted;
};

} // namespace server
