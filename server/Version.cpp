// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Version.h"

#include <QList>
#include <QVector>

#include <algorithm>

namespace server {

namespace {

constexpr int maxNumbers = 8;
/// What an int holds for certain.
constexpr int maxDigits = 9;

} // namespace

std::optional<QVersionNumber> Version::parse(const QByteArray& text)
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
    return QVersionNumber(numbers).normalized();
}

QVersionNumber Version::own()
{
    return parse(QByteArrayLiteral(QUELMAR_VERSION)).value_or(QVersionNumber());
}

} // namespace server
