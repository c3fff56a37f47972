// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QList>
#include <QMap>
#include <QObject>
#include <QString>

/// Counts every QObject of the process from start() on, also those that nothing points to: what serves one request owns
/// itself, so that a forgotten one would not be noticed otherwise.
namespace ObjectCensus {

/// Before the first object that shall be counted. Once in a process.
void start();

/// The living objects of this class and those derived from it.
QList<QObject*> living(const char* className);

template <typename T> QList<T*> living()
{
    QList<T*> found;
    const QList<QObject*> all = living(T::staticMetaObject.className());
    for (QObject* const one : all) {
        found.append(static_cast<T*>(one));
    }
    return found;
}

/// How many objects of each class live in the calling thread.
QMap<QString, int> count();

} // namespace ObjectCensus
