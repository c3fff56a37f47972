// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "model/Patient.h"
#include "model/Record.h"
#include "tests/support/LoopbackServer.h"

#include <QByteArray>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

/// Patients, records and replies that several tests of the patient screens use.
namespace Samples {

inline QJsonObject patient(const QString& id, const QString& name = QStringLiteral("Anna Berg"))
{
    return {
        {QStringLiteral("id"), id},
        {QStringLiteral("name"), name},
        {QStringLiteral("age"), 41},
        {QStringLiteral("gender"), QStringLiteral("FEMALE")},
        {QStringLiteral("birthDate"), QStringLiteral("1980-05-17")},
        {QStringLiteral("notes"), QStringLiteral("careful")},
        {QStringLiteral("phone"), QStringLiteral("+7 900 1")},
        {QStringLiteral("lastRecordAt"), QStringLiteral("2021-03-04T05:06:07Z")},
    };
}

inline QByteArray toBytes(const QJsonObject& object)
{
    return QJsonDocument(object).toJson();
}

inline QByteArray toBytes(const QJsonArray& array)
{
    return QJsonDocument(array).toJson();
}

/// The reply to a list request: patients "p0", "p1" and so on.
inline QByteArray list(int count, int pages)
{
    QJsonArray data;
    for (int i = 0; i < count; ++i) {
        data.append(patient(QStringLiteral("p%1").arg(i), QStringLiteral("Patient %1").arg(i)));
    }
    return toBytes(QJsonObject{{QStringLiteral("pages"), pages}, {QStringLiteral("data"), data}});
}

inline QJsonObject record(const QString& id, const QString& recordedAt)
{
    return {
        {QStringLiteral("id"), id},
        {QStringLiteral("patientId"), QStringLiteral("p1")},
        {QStringLiteral("doctorName"), QStringLiteral("Doctor ") + id},
        {QStringLiteral("recordedAt"), recordedAt},
        {QStringLiteral("editable"), true},
        {QStringLiteral("questionnaire"), false},
    };
}

/// The reply to a request for records: "r0" is the oldest.
inline QByteArray records(int count)
{
    QJsonArray array;
    for (int i = 0; i < count; ++i) {
        array.append(record(QStringLiteral("r%1").arg(i),
                            QStringLiteral("2021-03-%1T10:00:00Z").arg(1 + i % 28, 2, 10, QLatin1Char('0'))));
    }
    return toBytes(array);
}

/// What can go wrong with a request, and the text that the user is then shown.
inline void addFailures()
{
    using Answer = LoopbackServer::Answer;
    QTest::addColumn<int>("kind");
    QTest::addColumn<int>("status");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<QString>("text");
    const auto row = [](const char* name, int kind, int status, const QByteArray& body, const QString& text) {
        QTest::newRow(name) << kind << status << body << text;
    };
    row("400 with a message", Answer::Reply, 400, R"({"message": "Not this way"})", QStringLiteral("Not this way"));
    row("400 with errors", Answer::Reply, 400, R"({"errors": [{"b": "2", "a": "1"}, {"c": "3"}]})",
        QStringLiteral("a 1\r\nc 3\r\n"));
    row("400 with both", Answer::Reply, 400, R"({"message": "First", "errors": [{"a": "1"}]})",
        QStringLiteral("First"));
    row("400 with a number as message", Answer::Reply, 400, R"({"message": 5})", QString());
    row("400 with errors of other kinds", Answer::Reply, 400, R"({"errors": [null, 5, {}, {"a": "1"}]})",
        QStringLiteral("a 1\r\n"));
    row("400 without a body", Answer::Reply, 400, QByteArray(), QString());
    row("401", Answer::Reply, 401, R"({"message": "Log in again"})", QStringLiteral("Log in again"));
    row("404", Answer::Reply, 404, R"({"message": "No such patient"})", QStringLiteral("No such patient"));
    row("500 with HTML", Answer::Reply, 500, "<html><body>Oops</body></html>", QString());
    row("dropped connection", Answer::Reset, 200, QByteArray(), QString());
    row("dropped in the middle", Answer::ResetInBody, 200, QByteArray(2000, ' '), QString());
    row("no answer", Answer::Stall, 200, QByteArray(), QString());
    row("refused connection", -1, 200, QByteArray(), QString());
}

/// Lets the next request fail as the current row of addFailures() says.
inline void arrangeFailure(LoopbackServer& server, const QByteArray& method, const QByteArray& target)
{
    QFETCH(int, kind);
    QFETCH(int, status);
    QFETCH(QByteArray, body);
    if (kind < 0) {
        server.stop();
        return;
    }
    LoopbackServer::Answer answer;
    answer.kind = static_cast<LoopbackServer::Answer::Kind>(kind);
    answer.status = status;
    answer.body = body;
    if (answer.kind == LoopbackServer::Answer::Reset) {
        // A connection that drops without a word is tried again by Qt, how often is its own affair.
        server.setFallback(answer);
    } else {
        server.expect(method, target, answer);
    }
}

} // namespace Samples
