// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QVariant>

namespace server {

/// A statement, or a part of one, with the values for the "?" in it.
struct Statement
{
    QString text;
    QVariantList values;
};

} // namespace server
