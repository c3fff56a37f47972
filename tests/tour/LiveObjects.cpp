// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/tour/LiveObjects.h"

#include <QAbstractEventDispatcher>
#include <QMutex>
#include <QObject>
#include <QThread>
#include <private/qhooks_p.h>

#include <functional>
#include <unordered_set>

namespace {

QMutex mutex;

std::unordered_set<QObject*>& objects()
{
    // Some objects are destroyed after everything else that is static.
    static auto* const set = new std::unordered_set<QObject*>;
    return *set;
}

void added(QObject* object)
{
    const QMutexLocker locker(&mutex);
    objects().insert(object);
}

void removed(QObject* object)
{
    const QMutexLocker locker(&mutex);
    objects().erase(object);
}

/// Those of another thread may be half made or half gone.
void forEachOfThisThread(const std::function<void(QObject*)>& use)
{
    const QMutexLocker locker(&mutex);
    for (QObject* object : objects()) {
        if (object->thread() == QThread::currentThread()) {
            use(object);
        }
    }
}

} // namespace

void LiveObjects::watch()
{
    qtHookData[QHooks::AddQObject] = reinterpret_cast<quintptr>(&added);
    qtHookData[QHooks::RemoveQObject] = reinterpret_cast<quintptr>(&removed);
}

int LiveObjects::count()
{
    const QMutexLocker locker(&mutex);
    return static_cast<int>(objects().size());
}

int LiveObjects::timers()
{
    int sum = 0;
    const QAbstractEventDispatcher* const dispatcher = QAbstractEventDispatcher::instance();
    forEachOfThisThread([&sum, dispatcher](QObject* object) { sum += dispatcher->registeredTimers(object).size(); });
    return sum;
}

QMap<QString, int> LiveObjects::classes()
{
    QMap<QString, int> found;
    forEachOfThisThread([&found](QObject* object) { ++found[QString::fromLatin1(object->metaObject()->className())]; });
    return found;
}
