// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QStringList>

/// Statements that make a database as the first version of the server made it, with the practitioner "o", the patient
/// "p", the record "r" without its bytes, and a recipe of one marker; `bytes` is the engine's type of columns of bytes.
QStringList firstVersion(const QString& bytes);
