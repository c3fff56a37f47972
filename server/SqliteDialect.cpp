// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/SqliteDialect.h"

#include "server/Trigrams.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QThread>
#include <QUrl>

#include <vector>

namespace server {

namespace {

// Result codes of the engine. Qt's driver gives no extended ones, which would say more.
constexpr int busy = 5;
constexpr int locked = 6;
constexpr int full = 13;
constexpr int constraint = 19;

constexpr int busyMilliseconds = 15000;

/// Takes a patient out of the index, which has to be told the old texts, and out of the table of texts.
QString forget(const QString& row)
{
    return QStringLiteral("INSERT INTO patient_search (patient_search, rowid, name_folded, notes_folded) "
                          "SELECT 'delete', number, name_folded, notes_folded FROM patient_texts "
                          "WHERE patient_id = %1.id; "
                          "DELETE FROM patient_texts WHERE patient_id = %1.id; "
                          "UPDATE patient_counts SET patients = patients - 1 "
                          "WHERE practitioner_id = %1.practitioner_id; ")
        .arg(row);
}

/// Counts a patient, and takes it in under the number behind the last one of its practitioner.
QString learn(const QString& row)
{
    return QStringLiteral("INSERT INTO patient_counts (practitioner_id, patients) VALUES (%1.practitioner_id, 1) "
                          "ON CONFLICT (practitioner_id) DO UPDATE SET patients = patients + 1; "
                          "INSERT INTO patient_ranges (practitioner_id) VALUES (%1.practitioner_id) "
                          "ON CONFLICT (practitioner_id) DO NOTHING; "
                          "INSERT INTO patient_texts (number, patient_id, name_folded, notes_folded) "
                          "SELECT COALESCE((SELECT MAX(t.number) FROM patient_texts t WHERE t.number "
                          "BETWEEN r.number << 32 AND (r.number << 32) + 4294967295), r.number << 32) + 1, "
                          "%1.id, %1.name_folded, %1.notes_folded "
                          "FROM patient_ranges r WHERE r.practitioner_id = %1.practitioner_id; "
                          "INSERT INTO patient_search (rowid, name_folded, notes_folded) "
                          "SELECT number, name_folded, notes_folded FROM patient_texts WHERE patient_id = %1.id; ")
        .arg(row);
}

} // namespace

SqliteDialect::SqliteDialect(const QString& path, Use use)
    : m_path(QFileInfo(path).absoluteFilePath())
    , m_use(use)
{
}

QString SqliteDialect::provide() const
{
    const QFileInfo file(m_path);
    if (file.isDir())
        return QStringLiteral("it is a folder");
    if (m_use == Use::Shared && !QDir().mkpath(file.absolutePath()))
        return QStringLiteral("the folder %1 cannot be made").arg(file.absolutePath());
    return QString();
}

void SqliteDialect::configure(QSqlDatabase& connection) const
{
    QString options = QStringLiteral("QSQLITE_BUSY_TIMEOUT=%1").arg(busyMilliseconds);
    if (m_use == Use::ReadOnly) {
        options += QStringLiteral(";QSQLITE_OPEN_READONLY;QSQLITE_OPEN_URI");
        QString name = QString::fromLatin1(QUrl::fromLocalFile(m_path).toEncoded());
        // Of a file that others use, a part may stand in these. Else the engine would want to make them.
        if (!QFileInfo::exists(m_path + QStringLiteral("-wal")) &&
            !QFileInfo::exists(m_path + QStringLiteral("-journal")))
            name += QStringLiteral("?immutable=1");
        connection.setDatabaseName(name);
    } else {
        connection.setDatabaseName(m_path);
    }
    connection.setConnectOptions(options);
}

QString SqliteDialect::prepare(QSqlDatabase& connection) const
{
    std::vector<const char*> statements;
    if (m_use == Use::Shared)
        statements = {"PRAGMA journal_mode = WAL", "PRAGMA synchronous = FULL", "PRAGMA foreign_keys = ON"};
    else if (m_use == Use::Draft)
        statements = {"PRAGMA journal_mode = OFF", "PRAGMA synchronous = OFF", "PRAGMA foreign_keys = ON"};
    QSqlQuery query(connection);
    for (const char* statement : statements) {
        QElapsedTimer waited;
        waited.start();
        while (!query.exec(QLatin1String(statement))) {
            // Of two that make a new file write-ahead at once, the engine refuses one without the wait that is set.
            const int code = query.lastError().nativeErrorCode().toInt() & 0xff;
            if (code != busy || waited.hasExpired(busyMilliseconds))
                return query.lastError().databaseText();
            QThread::msleep(10);
        }
    }
    return QString();
}

QString SqliteDialect::migrated(const QString& statement) const
{
    return QString(statement).replace(QStringLiteral("{bytes}"), QStringLiteral("BLOB"));
}

QString SqliteDialect::selectTables() const
{
    return QStringLiteral("SELECT name FROM sqlite_master WHERE type = 'table'");
}

QString SqliteDialect::selectColumns() const
{
    // Columns that the engine computes are not among them.
    return QStringLiteral("SELECT name FROM pragma_table_info(?) ORDER BY cid");
}

QStringList SqliteDialect::makePatientTexts() const
{
    // The numbers of one practitioner's patients lie side by side, in a range of 2^32: the range alone is read, of the
    // index as of the texts. Positions within a text would make the index half as large again and slower.
    const QString learnt = learn(QStringLiteral("NEW"));
    const QString forgotten = forget(QStringLiteral("OLD"));
    return {
        QStringLiteral("CREATE TABLE patient_ranges (number INTEGER PRIMARY KEY, practitioner_id TEXT NOT NULL UNIQUE "
                       "REFERENCES practitioners (id) ON DELETE CASCADE)"),
        QStringLiteral("CREATE TABLE patient_texts (number INTEGER PRIMARY KEY, patient_id TEXT NOT NULL UNIQUE, "
                       "name_folded TEXT NOT NULL, notes_folded TEXT NOT NULL)"),
        QStringLiteral("CREATE VIRTUAL TABLE patient_search USING fts5 (name_folded, notes_folded, "
                       "content = 'patient_texts', content_rowid = 'number', columnsize = 0, detail = 'column', "
                       "tokenize = 'trigram case_sensitive 1')"),
        QStringLiteral("INSERT INTO patient_counts (practitioner_id, patients) "
                       "SELECT practitioner_id, COUNT(*) FROM patients GROUP BY practitioner_id"),
        QStringLiteral("INSERT INTO patient_ranges (practitioner_id) SELECT practitioner_id FROM patient_counts"),
        QStringLiteral("INSERT INTO patient_texts (number, patient_id, name_folded, notes_folded) "
                       "SELECT (r.number << 32) + ROW_NUMBER() OVER (PARTITION BY r.number ORDER BY p.id), p.id, "
                       "p.name_folded, p.notes_folded FROM patients p "
                       "JOIN patient_ranges r ON r.practitioner_id = p.practitioner_id"),
        QStringLiteral("INSERT INTO patient_search (patient_search) VALUES ('rebuild')"),
        QStringLiteral("CREATE TRIGGER patients_added AFTER INSERT ON patients BEGIN %1END").arg(learnt),
        QStringLiteral("CREATE TRIGGER patients_removed AFTER DELETE ON patients BEGIN %1END").arg(forgotten),
        QStringLiteral("CREATE TRIGGER patients_changed "
                       "AFTER UPDATE OF id, practitioner_id, name_folded, notes_folded ON patients "
                       "WHEN (OLD.id, OLD.practitioner_id, OLD.name_folded, OLD.notes_folded) IS NOT "
                       "(NEW.id, NEW.practitioner_id, NEW.name_folded, NEW.notes_folded) BEGIN %1%2END")
            .arg(forgotten, learnt)};
}

Statement SqliteDialect::patientsContaining(const QString& practitionerId, const QString& column, const QString& text,
                                            const QString& pattern) const
{
    const QString asked = Trigrams::asked(text);
    QStringList phrases;
    const QStringList runs = asked.isEmpty() ? QStringList() : Trigrams::covering(asked);
    for (QString run : runs)
        phrases.append(QLatin1Char('"') + run.replace(QLatin1Char('"'), QLatin1String("\"\"")) + QLatin1Char('"'));
    // CROSS JOIN settles the order: the range, what is found in it, and the rows of that alone.
    if (phrases.isEmpty()) {
        return {QStringLiteral(" FROM patient_ranges r CROSS JOIN patient_texts t CROSS JOIN patients p "
                               "ON p.id = t.patient_id WHERE r.practitioner_id = ? "
                               "AND t.number BETWEEN r.number << 32 AND (r.number << 32) + 4294967295 "
                               "AND t.%1 LIKE ? ESCAPE '\\'")
                    .arg(column),
                {practitionerId, pattern}};
    }
    return {QStringLiteral(" FROM patient_ranges r CROSS JOIN patient_search CROSS JOIN patient_texts t "
                           "ON t.number = patient_search.rowid CROSS JOIN patients p ON p.id = t.patient_id "
                           "WHERE r.practitioner_id = ? AND patient_search MATCH ? "
                           "AND patient_search.rowid BETWEEN r.number << 32 AND (r.number << 32) + 4294967295 "
                           "AND t.%1 LIKE ? ESCAPE '\\'")
                .arg(column),
            {practitionerId, column + QStringLiteral(" : (") + phrases.join(QStringLiteral(" AND ")) + QLatin1Char(')'),
             pattern}};
}

QStringList SqliteDialect::afterFilling() const
{
    // It has merged its index as it went, and its plans do not depend on what it knows of the tables.
    return {};
}

QStringList SqliteDialect::begin(bool) const
{
    // It waits for other writers now, and not in its middle: each is alone.
    return {QStringLiteral("BEGIN IMMEDIATE")};
}

QStringList SqliteDialect::beginMigration() const
{
    return begin(true);
}

QStringList SqliteDialect::beginSnapshot() const
{
    return {QStringLiteral("BEGIN")};
}

QStringList SqliteDialect::beginReplacement(const QStringList&) const
{
    return begin(true);
}

QStringList SqliteDialect::portions(const QString& selection) const
{
    return {selection};
}

bool SqliteDialect::run(QSqlQuery& query, const QSqlDatabase&, const QString& statement, const QVariantList& values,
                        Prepared&) const
{
    if (query.lastQuery() != statement) {
        query.setForwardOnly(true);
        if (!query.prepare(statement))
            return false;
    }
    for (int i = 0; i < values.size(); ++i)
        query.bindValue(i, values.at(i));
    return query.exec();
}

DatabaseError SqliteDialect::error(const QSqlError& error) const
{
    const int code = error.nativeErrorCode().toInt();
    auto kind = DatabaseError::Kind::Failed;
    const QString text = error.databaseText();
    if ((code & 0xff) == busy || (code & 0xff) == locked || (code & 0xff) == full)
        kind = DatabaseError::Kind::Busy;
    else if ((code & 0xff) == constraint &&
             (text.startsWith(QLatin1String("UNIQUE")) || text.startsWith(QLatin1String("FOREIGN KEY"))))
        kind = DatabaseError::Kind::Conflict;
    return DatabaseError(error.text(), kind);
}

} // namespace server
