// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/RangeMedian.h"

#include <algorithm>
#include <utility>

namespace server {

RangeMedian::RangeMedian(const std::vector<double>& values)
{
    std::vector<std::pair<double, std::uint16_t>> ordered;
    ordered.reserve(values.size());
    for (size_t i = 0; i < values.size(); ++i) {
        ordered.emplace_back(values[i], std::uint16_t(i));
    }
    std::sort(ordered.begin(), ordered.end());
    std::vector<std::uint16_t> row(values.size());
    m_sorted.reserve(values.size());
    for (size_t rank = 0; rank < ordered.size(); ++rank) {
        row[ordered[rank].second] = std::uint16_t(rank);
        m_sorted.push_back(ordered[rank].first);
    }

    int levels = 0;
    while ((values.size() >> levels) != 0) {
        ++levels;
    }
    std::vector<std::uint16_t> next(row.size());
    for (int level = levels - 1; level >= 0; --level) {
        std::vector<std::uint16_t> zeros(row.size() + 1);
        for (size_t i = 0; i < row.size(); ++i) {
            zeros[i + 1] = std::uint16_t(zeros[i] + (~(row[i] >> level) & 1));
        }
        size_t zero = 0;
        size_t one = zeros.back();
        for (const std::uint16_t rank : row) {
            next[((rank >> level) & 1) != 0 ? one++ : zero++] = rank;
        }
        row.swap(next);
        m_zeros.push_back(std::move(zeros));
    }
}

double RangeMedian::median(int first, int last) const
{
    int end = last + 1;
    int place = (end - first) / 2;
    size_t rank = 0;
    for (const std::vector<std::uint16_t>& zeros : m_zeros) {
        const int before = zeros[size_t(first)];
        const int upToEnd = zeros[size_t(end)];
        rank <<= 1;
        if (place < upToEnd - before) {
            first = before;
            end = upToEnd;
        } else {
            place -= upToEnd - before;
            first = zeros.back() + first - before;
            end = zeros.back() + end - upToEnd;
            rank |= 1;
        }
    }
    return m_sorted[rank];
}

} // namespace server
