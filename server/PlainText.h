// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

#include <algorithm>

namespace server {

/// What a text that is kept and shown as one line may consist of.
class PlainText
{
public:
    PlainText() = delete;

    /// Whole characters (no half of a surrogate pair), and no control character: neither a line break nor a tab.
    static bool isLine(const QString& text)
    {
        return QStringView(text).isValidUtf16() &&
               std::none_of(text.begin(), text.end(), [](QChar c) { return c.category() == QChar::Other_Control; });
    }
};

} // namespace server
