// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Version.h"

#include <QList>

#include <algorithm>

namespace server {

namespace {

constexpr int maxNumbers = 8;
/// What an int holds for certain.
constexpr int maxDigits = 9;

} // namespace

std::optional<QVector<int>> Version::parse(const QByteArray& text)
{
    const QList<QByteArray> fields = text.split('.');
    if (fields.size() > maxNumbers)
        return std::nullopt;
    QVector<int> numbers;
    for (const QByteArray& field : fields) {
        if (field.isEmpty() || field.size() > maxDigits ||
            !std::all_of(field.begin(), field.end(), [](char c) { return c >= '0' && c <= '9'; }))
            return std::nullopt;
        numbers.append(field.toInt());
    }
    while (!numbers.isEmpty() && numbers.last() == 0)
        numbers.removeLast();
    return numbers;
}

bool Version::isOutdated(const QVector<int>& version)
{
    const QVector<int> own = parse(QByteArrayLiteral(QUELMAR_VERSION)).value_or(QVector<int>());
    return std::lexicographical_compare(version.begin(), version.end(), own.begin(), own.end());
}

} // namespace server
