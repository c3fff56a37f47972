// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/ObjectCensus.h"

#include <QMutex>
#include <QSet>
#include <QThread>

#include <private/qhooks_p.h>

namespace {

QMutex& mutex()
{
    static auto* const instance = new QMutex;
    return *instance;
}

QSet<QObject*>& all()
{
    static auto* const instance = new QSet<QObject*>;
    return *instance;
}

QHooks::AddQObjectCallback nextAdd = nullptr;
QHooks::RemoveQObjectCallback nextRemove = nullptr;

void enter(QObject* object)
{
    {
        const QMutexLocker locker(&mutex());
        all().insert(object);
    }
    if (nextAdd != nullptr) {
        nextAdd(object);
    }
}

void leave(QObject* object)
{
    {
        // Holds the object's end back while it is looked at, since objects also end in Qt's own threads.
        const QMutexLocker locker(&mutex());
        all().remove(object);
    }
    if (nextRemove != nullptr) {
        nextRemove(object);
    }
}

} // namespace

void ObjectCensus::start()
{
    // Qt's table of hooks holds numbers.
    // NOLINTBEGIN(performance-no-int-to-ptr)
    nextAdd = reinterpret_cast<QHooks::AddQObjectCallback>(qtHookData[QHooks::AddQObject]);
    nextRemove = reinterpret_cast<QHooks::RemoveQObjectCallback>(qtHookData[QHooks::RemoveQObject]);
    // NOLINTEND(performance-no-int-to-ptr)
    qtHookData[QHooks::AddQObject] = reinterpret_cast<quintptr>(&enter);
    qtHookData[QHooks::RemoveQObject] = reinterpret_cast<quintptr>(&leave);
}

QList<QObject*> ObjectCensus::living(const char* className)
{
    QList<QObject*> found;
    const QMutexLocker locker(&mutex());
    for (QObject* const object : qAsConst(all())) {
        if (object->inherits(className)) {
            found.append(object);
        }
    }
    return found;
}

QMap<QString, int> ObjectCensus::count()
{
    QMap<QString, int> classes;
    const QMutexLocker locker(&mutex());
    for (const QObject* const object : qAsConst(all())) {
        if (object->thread() != QThread::currentThread()) {
            continue;
        }
        ++classes[QString::fromLatin1(object->metaObject()->className())];
    }
    return classes;
}
