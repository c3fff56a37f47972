// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/server/WrittenState.h"

#include "server/Database.h"
#include "server/Migrations.h"

#include <QCryptographicHash>
#include <QSqlError>
#include <QSqlQuery>
#include <QTemporaryDir>
#include <QVariant>
#include <QVector>

#include <functional>
#include <memory>

namespace {

constexpr int waveSize = 66194;

struct Reference
{
    QString table;
    QString column;
    QString parent;
    QString parentColumn;
};

/// Of the tables as the server makes them, and not as they may have become.
QVector<Reference> allReferences()
{
    QVector<Reference> all;
    const QTemporaryDir folder;
    QString error;
    const std::unique_ptr<server::Database> fresh =
        server::Database::open(folder.filePath(QStringLiteral("fresh.sqlite")), error);
    if (!fresh)
        return all;
    // What is derived from them differs between the engines.
    const QStringList tables = server::Migrations::keptTables() + server::Migrations::loginTables();
    for (const QString& table : tables) {
        server::Rows query =
            fresh->run(QStringLiteral("SELECT \"from\", \"table\", \"to\" FROM pragma_foreign_key_list(?)"), {table});
        while (query.next())
            all.append({table, query.value(0).toString(), query.value(1).toString(), query.value(2).toString()});
    }
    return all;
}

QString strengths(const QMap<QString, double>& answers)
{
    QStringList list;
    for (auto answer = answers.begin(); answer != answers.end(); ++answer)
        list.append(answer.key() + QLatin1Char('=') + QVariant(answer.value()).toString());
    return list.join(QLatin1Char(','));
}

/// Rows of a statement; a failure is a complaint.
void each(const QSqlDatabase& database, const QString& statement, QStringList& complaints,
          const std::function<void(const QSqlQuery&)>& row)
{
    QSqlQuery query(database);
    query.setForwardOnly(true);
    query.exec(statement);
    while (query.next())
        row(query);
    if (query.lastError().isValid())
        complaints.append(statement + QStringLiteral(": ") + query.lastError().text());
}

void complainOfReferences(const QSqlDatabase& database, QStringList& complaints)
{
    static const QVector<Reference> all = allReferences();
    if (all.isEmpty())
        complaints.append(QStringLiteral("the references of the tables are not known"));
    for (const Reference& reference : all) {
        each(database,
             QStringLiteral("SELECT a.%2 FROM %1 a LEFT JOIN %3 b ON b.%4 = a.%2 "
                            "WHERE b.%4 IS NULL AND a.%2 IS NOT NULL")
                 .arg(reference.table, reference.column, reference.parent, reference.parentColumn),
             complaints, [&](const QSqlQuery& row) {
                 complaints.append(
                     QStringLiteral("%1.%2 refers to %3, which is not in %4")
                         .arg(reference.table, reference.column, row.value(0).toString(), reference.parent));
             });
    }
}

} // namespace

QString patientText(const QString& name, const QString& birthDate, const QString& gender, const QString& phone,
                    const QString& notes)
{
    return QStringList{name, birthDate, gender, phone, notes}.join(QLatin1Char('|'));
}

QString recordText(const QString& patientId, const QString& sensorId, const QByteArray& wave)
{
    const QByteArray hash = QCryptographicHash::hash(wave, QCryptographicHash::Sha256).toHex();
    return QStringLiteral("%1|%2|%3|%4")
        .arg(patientId, sensorId, QString::number(wave.size()), QString::fromLatin1(hash));
}

QString recipeText(int duration, const QStringList& markers)
{
    return QString::number(duration) + QLatin1Char('|') + markers.join(QLatin1Char(','));
}

QString questionnaireText(const QMap<QString, double>& shipped, const QMap<QString, double>& custom)
{
    return strengths(shipped) + QLatin1Char('|') + strengths(custom);
}

QMap<QString, WrittenState> writtenState(const QSqlDatabase& database, QStringList& complaints)
{
    QMap<QString, WrittenState> all;
    QMap<QString, QString> owners; ///< of records
    each(database, QStringLiteral("SELECT name FROM practitioners"), complaints,
         [&](const QSqlQuery& row) { all[row.value(0).toString()]; });
    each(database,
         QStringLiteral("SELECT o.name, p.id, p.name, p.birth_date, p.gender, p.phone, p.notes, p.last_record_at, "
                        "COALESCE((SELECT MAX(r.recorded_at) FROM records r WHERE r.patient_id = p.id), '') "
                        "FROM patients p JOIN practitioners o ON o.id = p.practitioner_id"),
         complaints, [&](const QSqlQuery& row) {
             const auto text = [&row](int i) { return row.value(i).toString(); };
             all[text(0)].insert(QStringLiteral("patient ") + text(1),
                                 patientText(text(2), text(3), text(4), text(5), text(6)));
             if (text(7) != text(8))
                 complaints.append(QStringLiteral("the patient %1 has the last recording of \"%2\", and not of \"%3\"")
                                       .arg(text(1), text(7), text(8)));
         });
    each(database,
         QStringLiteral("SELECT o.name, r.id, r.patient_id, r.sensor_id, r.wave FROM records r "
                        "JOIN patients p ON p.id = r.patient_id JOIN practitioners o ON o.id = p.practitioner_id"),
         complaints, [&](const QSqlQuery& row) {
             const QString id = row.value(1).toString();
             const QByteArray wave = row.value(4).toByteArray();
             owners.insert(id, row.value(0).toString());
             all[row.value(0).toString()].insert(QStringLiteral("record ") + id,
                                                 recordText(row.value(2).toString(), row.value(3).toString(), wave));
             if (wave.size() != waveSize)
                 complaints.append(QStringLiteral("the record %1 has %2 bytes").arg(id).arg(wave.size()));
         });

    QMap<QString, QStringList> markers;
    each(database,
         QStringLiteral("SELECT record_id, position, marker_id FROM recipe_markers ORDER BY record_id, position"),
         complaints, [&](const QSqlQuery& row) {
             QStringList& list = markers[row.value(0).toString()];
             if (row.value(1).toInt() != list.size())
                 complaints.append(QStringLiteral("the recipe %1 has a gap").arg(row.value(0).toString()));
             list.append(row.value(2).toString());
         });
    each(database, QStringLiteral("SELECT record_id, duration FROM recipes"), complaints, [&](const QSqlQuery& row) {
        const QString id = row.value(0).toString();
        all[owners.value(id)].insert(QStringLiteral("recipe ") + id,
                                     recipeText(row.value(1).toInt(), markers.value(id)));
    });

    QMap<QString, QMap<QString, double>> answers[2];
    each(database, QStringLiteral("SELECT record_id, custom, symptom, intensity FROM questionnaire_answers"),
         complaints, [&](const QSqlQuery& row) {
             answers[row.value(1).toInt() != 0 ? 1 : 0][row.value(0).toString()].insert(row.value(2).toString(),
                                                                                        row.value(3).toDouble());
         });
    each(database, QStringLiteral("SELECT record_id FROM questionnaires"), complaints, [&](const QSqlQuery& row) {
        const QString id = row.value(0).toString();
        all[owners.value(id)].insert(QStringLiteral("questionnaire ") + id,
                                     questionnaireText(answers[0].value(id), answers[1].value(id)));
    });

    complainOfReferences(database, complaints);
    if (database.driverName() == QLatin1String("QSQLITE")) {
        for (const char* check : {"PRAGMA integrity_check", "PRAGMA foreign_key_check"}) {
            each(database, QString::fromLatin1(check), complaints, [&](const QSqlQuery& row) {
                if (row.value(0).toString() != QLatin1String("ok"))
                    complaints.append(QString::fromLatin1(check) + QStringLiteral(": ") + row.value(0).toString());
            });
        }
    }
    return all;
}

QStringList differences(const WrittenState& expected, const WrittenState& found)
{
    QStringList all;
    for (auto entry = expected.begin(); entry != expected.end(); ++entry) {
        if (!found.contains(entry.key()))
            all.append(QStringLiteral("%1 is not there").arg(entry.key()));
        else if (found.value(entry.key()) != entry.value())
            all.append(QStringLiteral("%1 is \"%2\", and not \"%3\"")
                           .arg(entry.key(), found.value(entry.key()).left(300), entry.value().left(300)));
    }
    for (auto entry = found.begin(); entry != found.end(); ++entry) {
        if (!expected.contains(entry.key()))
            all.append(QStringLiteral("%1 was never stored: %2").arg(entry.key(), entry.value().left(300)));
    }
    return all;
}
