// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Needle.h"

#include "server/FormBody.h"

namespace server {

std::optional<QString> Needle::decode(const QByteArray& text)
{
    if (text.isEmpty())
        return QString();
    QByteArray base64 = text;
    for (char& c : base64) {
        if (c == '+' || c == '/' || c == '=')
            return std::nullopt;
        c = c == '.' ? '+' : c == '_' ? '/' : c == '-' ? '=' : c;
    }
    if (base64.size() % 4 != 0)
        return std::nullopt;
    const auto decoded = QByteArray::fromBase64Encoding(base64, QByteArray::AbortOnBase64DecodingErrors);
    if (!decoded)
        return std::nullopt;
    return FormBody::utf8(*decoded);
}

} // namespace server
