// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "model/Marker.h"
#include "model/Patient.h"
#include "model/Record.h"
#include "tests/support/LoopbackServer.h"

#include <QByteArray>
#include <QJsonArray>
#include <QJsonObject>
#include <QList>
#include <QString>
#include <QTest>
#include <QTranslator>

/// What the server would say, for the tests of this folder and of the analysis.
namespace RecipeFixtures {

QJsonObject marker(const QString& id, const QString& title, int value = 0, int amount = 1,
                   const QJsonValue& description = QStringLiteral("about"));
QByteArray json(const QJsonArray& array);
QByteArray json(const QJsonObject& object);
/// The reply of an analysis.
QByteArray rows(const QJsonArray& markers);
/// `id`, `title` and `frequencies` of a storage.
QJsonObject storage(const QString& id, const QString& title, bool frequencies = false);
QJsonObject category(const QString& title, const QJsonArray& storages);
/// The reply of a recipe: base64 of a gzip of the JSON array of the blocks' base64.
QByteArray recipe(const QList<QByteArray>& blocks);
/// The wrapping alone, around any text.
QByteArray zipped(const QByteArray& text);

/// Leaves every key as it stands, but gives those that take arguments their places: "Text.recipe %1 %2".
class KeysWithPlaces : public QTranslator
{
public:
    bool isEmpty() const override { return false; }
    QString translate(const char* context, const char* key, const char* disambiguation, int n) const override;
};

Patient patient(bool hasDevices = false);
Record record();
QList<Marker> markers(int count, int amount = 1);

/// Adds the rows "answer" and "text": each way in which a request fails, and what the message box says then. The test
/// shortens the read time-out for the row "no answer" by `timeout` milliseconds.
void addFailureRows();
constexpr int timeout = 200;
/// Makes the server behave as the current row says towards the next request of this kind. Take a new server afterwards.
void expectFailure(LoopbackServer& server, const QByteArray& method, const QByteArray& target);

} // namespace RecipeFixtures

Q_DECLARE_METATYPE(LoopbackServer::Answer)
