// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>

namespace server {

/// What is stored beside a text so that it can be searched and sorted by rules that the database does not know. Usable
/// on any thread.
class TextKeys
{
public:
    /// The composed form (NFC) with the blanks at both ends taken off: how texts are stored.
    static QString normalized(const QString& text);

    /// The form in which texts are compared in a search: upper and lower case are the same in every script, "ß" is
    /// "ss", and "ё" is "е", as Russian writes both.
    static QString folded(const QString& text);

    /// Hexadecimal digits that order texts, compared as plain text, as the Unicode collation algorithm does: letters
    /// with marks stand beside those without, Latin before Cyrillic. Only the beginning of a long text counts.
    static QString sortKey(const QString& text);
};

} // namespace server
