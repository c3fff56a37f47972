// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QVector>

#include <optional>

namespace server {

/// The version of a program: numbers with points between them, compared one by one from the left. What is missing at
/// the end counts as 0, so that "2021.3" is "2021.3.0".
class Version
{
public:
    Version() = delete;

    /// The numbers, without zeros at the end. Nothing unless the text is one to eight numbers of at most nine digits
    /// each, with single points between them.
    static std::optional<QVector<int>> parse(const QByteArray& text);
    /// Whether this server's own is newer.
    static bool isOutdated(const QVector<int>& version);
};

} // namespace server
