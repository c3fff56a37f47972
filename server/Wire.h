// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "server/Catalogue.h"
#include "server/Reply.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QString>
#include <QVector>

class QDate;
class QDateTime;

namespace server {

class Failure;
class JsonOutput;
struct Patient;
struct Record;

/// How replies and the values in them read on the wire. `language` is that of the messages and titles, "ru" or "en".
class Wire
{
public:
    Wire() = delete;

    /// Status 200, compact JSON.
    static Reply json(const QJsonDocument& document);
    static Reply json(const QJsonObject& object);
    static Reply json(const QJsonArray& array);
    static Reply json(const JsonOutput& output);
    /// Status 200, plain text.
    static Reply text(const QByteArray& body);
    /// A failure that is one sentence.
    static Reply message(int status, const QString& sentence);
    /// A failure as an operation throws it: a sentence, or what is wrong with each field.
    static Reply failed(const Failure& failure, const QString& language);

    /// The client shows a time as it reads, so it gets the wall clock of this machine, with its offset; an invalid time
    /// is an empty text.
    static QString time(const QDateTime& moment);

    /// The same wall clock as the client's tables print it, "yyyy-MM-dd HH:mm:ss".
    static QString clock(const QDateTime& moment);

    /// Each writes one object. The age is that on a day.
    static void patient(JsonOutput& output, const Patient& row, const QDate& day);
    static void record(JsonOutput& output, const Record& row);
    /// `values` has one entry for each record that was analysed.
    static void marker(JsonOutput& output, const Catalogue::Marker& entry, const QVector<int>& values,
                       const QString& language);
};

} // namespace server
