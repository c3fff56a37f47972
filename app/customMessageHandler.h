// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QtGlobal>

class QMessageLogContext;
class QString;

/// Appends every message of the process to the file "quelmar.log" in the working directory. A file that cannot be
/// opened loses the message without a word.
void customMessageHandler(QtMsgType type, const QMessageLogContext& context, const QString& message);
