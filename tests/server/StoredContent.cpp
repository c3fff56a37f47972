// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/server/StoredContent.h"

#include <QCryptographicHash>
#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QVariant>

namespace {

QString textOf(const QSqlQuery& row, int column)
{
    if (row.isNull(column))
        return QStringLiteral("null");
    const QVariant value = row.value(column);
    if (value.userType() != QMetaType::QByteArray)
        return QLatin1Char('"') + value.toString() + QLatin1Char('"');
    const QByteArray bytes = value.toByteArray();
    return QStringLiteral("%1 bytes %2")
        .arg(bytes.size())
        .arg(QString::fromLatin1(QCryptographicHash::hash(bytes, QCryptographicHash::Sha256).toHex()));
}

} // namespace

QMap<QString, QStringList> storedContent(const QSqlDatabase& database, const QStringList& tables)
{
    QMap<QString, QStringList> all;
    for (const QString& table : tables) {
        QSqlQuery query(database);
        query.setForwardOnly(true);
        QStringList& rows = all[table];
        if (!query.exec(QStringLiteral("SELECT * FROM ") + table)) {
            rows.append(query.lastError().text());
            continue;
        }
        while (query.next()) {
            QStringList values;
            for (int i = 0; i < query.record().count(); ++i)
                values.append(query.record().fieldName(i) + QLatin1Char('=') + textOf(query, i));
            values.sort();
            rows.append(values.join(QLatin1Char(' ')));
        }
        rows.sort();
    }
    return all;
}
