// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "tests/fuzz/require.h"

#include <QByteArray>
#include <QGuiApplication>
#include <QtGlobal>

/// What the client's classes need around them. To be started once, before the first input.
class Application
{
public:
    /// No input may make Qt complain: a warning ends the program, unless it begins with `expected`.
    static void start(const char* expected = nullptr)
    {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        // Local times go back and forth here.
        qputenv("TZ", "Europe/Berlin");
        static int count = 1;
        static char name[] = "fuzz";
        static char* arguments[] = {name, nullptr};
        static QGuiApplication application(count, arguments);
        expectedWarning = expected;
        qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString& text) {
            const QByteArray message = text.toUtf8();
            require(expectedWarning != nullptr && message.startsWith(expectedWarning), message.constData());
        });
    }

private:
    static inline const char* expectedWarning = nullptr;
};
