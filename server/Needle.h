// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

namespace server {

/// The text that a search looks for, as the query of a request carries it: the base64 of its UTF-8 bytes, with "." for
/// "+", "_" for "/" and "-" for "=".
class Needle
{
public:
    /// Nothing if the text is no such encoding of valid UTF-8; an empty text for an empty one.
    static std::optional<QString> decode(const QByteArray& text);
};

} // namespace server
