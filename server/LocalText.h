// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

namespace server {

/// One text in the two languages that the server speaks.
struct LocalText
{
    QString english;
    QString russian;

    /// True for "ru" alone or with a region ("ru-RU", "ru_RU"), in any case; every other language is answered in
    /// English.
    static bool isRussian(const QString& language);

    const QString& in(const QString& language) const { return isRussian(language) ? russian : english; }
};

} // namespace server
