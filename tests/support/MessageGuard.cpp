// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/MessageGuard.h"

#include <QMutex>
#include <QRegularExpression>
#include <QTest>

namespace {

QMutex mutex;
QStringList all;
QStringList forbidden;
QtMessageHandler previous = nullptr;

bool isForbidden(const QString& message)
{
    static const QStringList fragments{
        QStringLiteral("QPainter::"),
        QStringLiteral("Could not parse stylesheet"),
        QStringLiteral("Unknown property"),
        QStringLiteral("QLayout: Attempting"),
        QStringLiteral("QPixmap::scaled: Pixmap is a null"),
        QStringLiteral("QIODevice::read"),
        QStringLiteral("Timers cannot be"),
    };
    // The same as the runner of the tests looks for, so that the function that said it is known.
    static const QRegularExpression failedByName(QStringLiteral(QUELMAR_FORBIDDEN_OUTPUT));
    if (failedByName.match(message).hasMatch()) {
        return true;
    }
    for (const QString& fragment : fragments) {
        if (message.contains(fragment)) {
            return true;
        }
    }
    return false;
}

void handle(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    {
        const QMutexLocker locker(&mutex);
        all.append(message);
        if (isForbidden(message)) {
            forbidden.append(message);
        }
    }
    if (previous != nullptr) {
        previous(type, context, message);
    }
}

} // namespace

MessageGuard::MessageGuard()
{
    previous = qInstallMessageHandler(handle);
}

MessageGuard::~MessageGuard()
{
    qInstallMessageHandler(previous);
}

void MessageGuard::verify()
{
    QStringList found;
    {
        const QMutexLocker locker(&mutex);
        found.swap(forbidden);
    }
    if (!found.isEmpty()) {
        QTest::qFail(qPrintable(found.join(QLatin1Char('\n'))), __FILE__, __LINE__);
    }
}

QStringList MessageGuard::messages() const
{
    const QMutexLocker locker(&mutex);
    return all;
}

void MessageGuard::clear()
{
    const QMutexLocker locker(&mutex);
    all.clear();
}
