// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/server/ServerFixture.h"

#include <QDateTime>
#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>

#include <csignal>

bool ServerFixture::start(const QStringList& options)
{
    m_options = options;
    m_database = std::make_unique<TestDatabase>();
    return m_server.start(path(), m_options) && m_database->connect();
}

bool ServerFixture::restart()
{
    return m_server.stop(SIGTERM) == 0 && m_server.start(path(), m_options);
}

bool ServerFixture::stop()
{
    const bool ended = m_server.stop(SIGTERM) == 0;
    m_database.reset();
    return ended;
}

std::unique_ptr<ApiClient> ServerFixture::newClient()
{
    const QString name = QStringLiteral("practitioner%1").arg(++m_practitioners);
    if (!ServerProcess::addPractitioner(path(), name, QStringLiteral("secret")))
        return nullptr;
    auto client = std::make_unique<ApiClient>(m_server.url());
    if (client->login(name, QStringLiteral("secret")).status != 200)
        return nullptr;
    return client;
}

std::unique_ptr<ApiClient> ServerFixture::sameClient(const ApiClient& client) const
{
    auto same = std::make_unique<ApiClient>(m_server.url());
    same->token = client.token;
    same->language = client.language;
    return same;
}

QString ServerFixture::newPatient(ApiClient& client)
{
    const QJsonObject patient{{QStringLiteral("name"), QStringLiteral("Anna")},
                              {QStringLiteral("birthDate"), QStringLiteral("1980-05-17")},
                              {QStringLiteral("gender"), QStringLiteral("FEMALE")}};
    return client.post(QStringLiteral("/patient"), patient).object().value(QStringLiteral("id")).toString();
}

QString ServerFixture::newRecord(ApiClient& client, const QString& patientId, const QByteArray& wave,
                                 const QDateTime& recordedAt)
{
    QString id = client.upload(patientId, wave).object().value(QStringLiteral("id")).toString();
    if (recordedAt.isValid())
        sql(QStringLiteral("UPDATE records SET recorded_at = ? WHERE id = ?"),
            {recordedAt.toUTC().toString(Qt::ISODateWithMs), id});
    return id;
}

QVariant ServerFixture::sql(const QString& statement, const QVariantList& values)
{
    QSqlQuery query;
    // PostgreSQL prepares no changes of its tables.
    if (!values.isEmpty())
        query.prepare(statement);
    for (const QVariant& value : values)
        query.addBindValue(value);
    if (!(values.isEmpty() ? query.exec(statement) : query.exec())) {
        qWarning("%s", qPrintable(query.lastError().text()));
        return QVariant();
    }
    return query.next() ? query.value(0) : QVariant(0);
}

QStringList ServerFixture::rows(const QString& table)
{
    QSqlQuery query;
    QStringList all;
    if (!query.exec(QStringLiteral("SELECT * FROM ") + table)) {
        qWarning("%s", qPrintable(query.lastError().text()));
        return {query.lastError().text()};
    }
    while (query.next()) {
        QStringList values;
        for (int i = 0; i < query.record().count(); ++i) {
            const QVariant value = query.value(i);
            const bool bytes = value.userType() == QMetaType::QByteArray;
            values.append(bytes ? QString::fromLatin1(value.toByteArray().toHex()) : value.toString());
        }
        all.append(values.join(QLatin1Char('|')));
    }
    all.sort();
    return all;
}
