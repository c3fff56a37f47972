// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/PostgresDialect.h"

#include "server/Trigrams.h"

#include <QRegularExpression>
#include <QSqlDriver>
#include <QSqlField>

#include <algorithm>
#include <initializer_list>

namespace server {

namespace {

// More different statements than the program has are those of lists of varying length.
constexpr int maxPrepared = 200;

// Any number serves, as long as every version of the program takes the same.
constexpr int migrationLock = 18620;

/// "$1", "$2" and so on for each "?" that is no part of a quoted text or name.
QString numbered(const QString& statement)
{
    QString result;
    result.reserve(statement.size() + 16);
    QChar quote;
    int number = 0;
    for (const QChar c : statement) {
        if (!quote.isNull()) {
            if (c == quote)
                quote = QChar();
        } else if (c == QLatin1Char('\'') || c == QLatin1Char('"')) {
            quote = c;
        } else if (c == QLatin1Char('?')) {
            result += QLatin1Char('$') + QString::number(++number);
            continue;
        }
        result += c;
    }
    return result;
}

QString literal(const QSqlDriver& driver, const QVariant& value)
{
    // Truth is kept as 0 and 1, as SQLite keeps it.
    const QVariant kept = value.userType() == QMetaType::Bool ? QVariant(value.toInt()) : value;
    QSqlField field(QString(), kept.type());
    field.setValue(kept);
    return driver.formatValue(field);
}

DatabaseError::Kind kindOf(const QString& state)
{
    using Kind = DatabaseError::Kind;
    const auto in = [&state](std::initializer_list<const char*> beginnings) {
        return std::any_of(beginnings.begin(), beginnings.end(),
                           [&state](const char* beginning) { return state.startsWith(QLatin1String(beginning)); });
    };
    // A serialization failure, a deadlock; a row that another transaction has added or removed since it was looked for.
    if (in({"40001", "40P01", "23503", "23505"}))
        return Kind::Conflict;
    // Waiting for a lock, a statement that was cancelled, and what a machine runs out of.
    if (in({"55P03", "57014", "53"}))
        return Kind::Busy;
    // The client library itself has no code to give. The others: the connection, a commit of unknown end, a server
    // that stops or starts, one that has become a standby, and a session that was ended.
    if (state.isEmpty() || in({"08", "40003", "57P", "25006", "25P03"}))
        return Kind::Lost;
    return Kind::Failed;
}

} // namespace

PostgresDialect::PostgresDialect(const DatabaseAddress& address)
    : m_address(address)
{
}

QString PostgresDialect::provide() const
{
    if (!QSqlDatabase::isDriverAvailable(driver()))
        return QStringLiteral("Qt's driver for PostgreSQL is not installed");
    return QString();
}

void PostgresDialect::configure(QSqlDatabase& connection) const
{
    connection.setHostName(m_address.host);
    connection.setPort(m_address.port);
    connection.setUserName(m_address.user);
    connection.setPassword(m_address.password);
    connection.setDatabaseName(m_address.name);
    connection.setConnectOptions(QStringLiteral("connect_timeout=5;application_name=quelmar-server"));
}

QString PostgresDialect::prepare(QSqlDatabase& connection) const
{
    QSqlQuery query(connection);
    if (!query.exec(QStringLiteral("SELECT current_setting('server_encoding')")) || !query.next())
        return error(query.lastError()).text();
    if (query.value(0).toString() != QLatin1String("UTF8"))
        return QStringLiteral("its encoding is %1, and has to be UTF8").arg(query.value(0).toString());
    // One at a time: of several in one text Qt reports the failure of the first alone. Whoever runs the engine may have
    // chosen a commit that is safer still, and only the unsafe one is replaced.
    for (const auto* statement :
         {"SET client_min_messages = error", "SET bytea_output = hex", "SET lock_timeout = '15s'",
          "SELECT set_config('synchronous_commit', 'on', false) WHERE current_setting('synchronous_commit') = 'off'"}) {
        if (!query.exec(QLatin1String(statement)))
            return error(query.lastError()).text();
    }
    return QString();
}

QString PostgresDialect::migrated(const QString& statement) const
{
    static const QRegularExpression text(QStringLiteral("\\bTEXT\\b"));
    static const QRegularExpression real(QStringLiteral("\\bREAL\\b"));
    return QString(statement)
        .replace(QStringLiteral("{bytes}"), QStringLiteral("BYTEA"))
        .replace(text, QStringLiteral("TEXT COLLATE \"C\""))
        .replace(real, QStringLiteral("DOUBLE PRECISION"));
}

QString PostgresDialect::selectTables() const
{
    return QStringLiteral("SELECT tablename FROM pg_catalog.pg_tables WHERE schemaname = current_schema()");
}

QString PostgresDialect::selectColumns() const
{
    return QStringLiteral("SELECT a.attname FROM pg_catalog.pg_attribute a "
                          "JOIN pg_catalog.pg_class t ON t.oid = a.attrelid "
                          "JOIN pg_catalog.pg_namespace n ON n.oid = t.relnamespace "
                          "WHERE n.nspname = current_schema() AND t.relname = ? AND a.attnum > 0 "
                          "AND NOT a.attisdropped AND a.attgenerated = '' ORDER BY a.attnum");
}

QStringList PostgresDialect::makePatientTexts() const
{
    // Not in the table of patients itself: each upload changes a row there, and with it every index of the row. The
    // practitioner is a part of each entry, so that a search reads what this one's patients have and nothing else,
    // however many others there are. New entries wait in a list that each search reads through, hence its limit (KiB).
    return {
        QStringLiteral("CREATE TABLE patient_texts ("
                       "patient_id text COLLATE \"C\" NOT NULL PRIMARY KEY REFERENCES patients (id) ON DELETE CASCADE, "
                       "practitioner_id text COLLATE \"C\" NOT NULL, "
                       "name_folded text COLLATE \"C\" NOT NULL, "
                       "notes_folded text COLLATE \"C\" NOT NULL)"),
        QStringLiteral("INSERT INTO patient_counts (practitioner_id, patients) "
                       "SELECT practitioner_id, COUNT(*) FROM patients GROUP BY practitioner_id"),
        QStringLiteral("INSERT INTO patient_texts (patient_id, practitioner_id, name_folded, notes_folded) "
                       "SELECT id, practitioner_id, name_folded, notes_folded FROM patients"),
        QStringLiteral("CREATE FUNCTION quelmar_trigrams(owner text, folded text) RETURNS text[] "
                       "LANGUAGE plpgsql IMMUTABLE STRICT PARALLEL SAFE AS $$ "
                       "DECLARE "
                       "    signs text[] := string_to_array(folded, NULL); "
                       "    runs text[] := '{}'; "
                       "BEGIN "
                       "    FOR i IN 1 .. COALESCE(array_length(signs, 1), 0) - 2 LOOP "
                       "        runs[i] := owner || signs[i] || signs[i + 1] || signs[i + 2]; "
                       "    END LOOP; "
                       "    RETURN runs; "
                       "END $$"),
        QStringLiteral("CREATE INDEX patient_texts_by_practitioner ON patient_texts (practitioner_id)"),
        QStringLiteral("CREATE INDEX patient_texts_by_name ON patient_texts "
                       "USING gin (quelmar_trigrams(practitioner_id, name_folded)) "
                       "WITH (gin_pending_list_limit = 128)"),
        QStringLiteral("CREATE INDEX patient_texts_by_notes ON patient_texts "
                       "USING gin (quelmar_trigrams(practitioner_id, notes_folded)) "
                       "WITH (gin_pending_list_limit = 128)"),
        QStringLiteral("CREATE FUNCTION quelmar_patients_added() RETURNS trigger LANGUAGE plpgsql AS $$ "
                       "BEGIN "
                       "    INSERT INTO patient_counts (practitioner_id, patients) "
                       "    SELECT practitioner_id, COUNT(*) FROM added GROUP BY practitioner_id "
                       "    ON CONFLICT (practitioner_id) "
                       "    DO UPDATE SET patients = patient_counts.patients + excluded.patients; "
                       "    INSERT INTO patient_texts (patient_id, practitioner_id, name_folded, notes_folded) "
                       "    SELECT id, practitioner_id, name_folded, notes_folded FROM added; "
                       "    RETURN NULL; "
                       "END $$"),
        QStringLiteral(
            "CREATE FUNCTION quelmar_patients_removed() RETURNS trigger LANGUAGE plpgsql AS $$ "
            "BEGIN "
            "    UPDATE patient_counts c SET patients = c.patients - r.patients "
            "    FROM (SELECT practitioner_id, COUNT(*) AS patients FROM removed GROUP BY practitioner_id) r "
            "    WHERE c.practitioner_id = r.practitioner_id; "
            "    RETURN NULL; "
            "END $$"),
        QStringLiteral("CREATE FUNCTION quelmar_patient_changed() RETURNS trigger LANGUAGE plpgsql AS $$ "
                       "BEGIN "
                       "    UPDATE patient_texts SET practitioner_id = NEW.practitioner_id, "
                       "    name_folded = NEW.name_folded, notes_folded = NEW.notes_folded "
                       "    WHERE patient_id = NEW.id; "
                       "    IF NEW.practitioner_id <> OLD.practitioner_id THEN "
                       "        UPDATE patient_counts SET patients = patients - 1 "
                       "        WHERE practitioner_id = OLD.practitioner_id; "
                       "        INSERT INTO patient_counts (practitioner_id, patients) VALUES (NEW.practitioner_id, 1) "
                       "        ON CONFLICT (practitioner_id) DO UPDATE SET patients = patient_counts.patients + 1; "
                       "    END IF; "
                       "    RETURN NULL; "
                       "END $$"),
        QStringLiteral("CREATE TRIGGER patients_added AFTER INSERT ON patients REFERENCING NEW TABLE AS added "
                       "FOR EACH STATEMENT EXECUTE FUNCTION quelmar_patients_added()"),
        QStringLiteral("CREATE TRIGGER patients_removed AFTER DELETE ON patients REFERENCING OLD TABLE AS removed "
                       "FOR EACH STATEMENT EXECUTE FUNCTION quelmar_patients_removed()"),
        QStringLiteral("CREATE TRIGGER patients_changed "
                       "AFTER UPDATE OF practitioner_id, name_folded, notes_folded ON patients FOR EACH ROW "
                       "WHEN ((OLD.practitioner_id, OLD.name_folded, OLD.notes_folded) IS DISTINCT FROM "
                       "(NEW.practitioner_id, NEW.name_folded, NEW.notes_folded)) "
                       "EXECUTE FUNCTION quelmar_patient_changed()"),
    };
}

Statement PostgresDialect::patientsContaining(const QString& practitionerId, const QString& column, const QString& text,
                                              const QString& pattern) const
{
    const QString asked = Trigrams::asked(text);
    const QString source = QStringLiteral(" FROM patient_texts t JOIN patients p ON p.id = t.patient_id WHERE ");
    if (asked.isEmpty()) {
        return {source + QStringLiteral("t.practitioner_id = ? AND p.practitioner_id = ? AND t.%1 LIKE ? ESCAPE '\\'")
                             .arg(column),
                {practitionerId, practitionerId, pattern}};
    }
    // The practitioner is compared in a way that no other index serves, so that the planner has nothing to guess.
    return {source + QStringLiteral("quelmar_trigrams(t.practitioner_id, t.%1) @> quelmar_trigrams(?, ?) "
                                    "AND t.practitioner_id || '' = ? AND t.%1 LIKE ? ESCAPE '\\'")
                         .arg(column),
            {practitionerId, asked, practitionerId, pattern}};
}

QStringList PostgresDialect::afterFilling() const
{
    // Until then an index alone does not tell which rows there are. The engine's own cleaning comes a minute later.
    return {QStringLiteral("VACUUM ANALYZE")};
}

QStringList PostgresDialect::begin(bool alone) const
{
    // What the transaction sees is settled by its first statement other than a LOCK, which is after the wait. The table
    // stands for all: nobody writes to it, and reading it takes no part in these locks.
    return {QStringLiteral("BEGIN ISOLATION LEVEL SERIALIZABLE"),
            QStringLiteral("LOCK TABLE schema_version IN %1 MODE")
                .arg(alone ? QStringLiteral("SHARE ROW EXCLUSIVE") : QStringLiteral("ROW EXCLUSIVE"))};
}

QStringList PostgresDialect::beginMigration() const
{
    // In a serializable transaction what the one before has made would not be seen after the wait.
    return {QStringLiteral("BEGIN ISOLATION LEVEL READ COMMITTED"),
            QStringLiteral("SELECT pg_advisory_xact_lock(%1)").arg(migrationLock)};
}

QStringList PostgresDialect::beginSnapshot() const
{
    // A limit that is meant for requests is none for a whole table.
    return {QStringLiteral("BEGIN ISOLATION LEVEL REPEATABLE READ READ ONLY"),
            QStringLiteral("SET LOCAL statement_timeout = 0"),
            QStringLiteral("SET LOCAL idle_in_transaction_session_timeout = 0")};
}

QStringList PostgresDialect::beginReplacement(const QStringList& tables) const
{
    // The first lock is the one with which transactions begin: most others that write are past it or wait for it, and
    // none of them meets with the locks that follow.
    return {QStringLiteral("BEGIN ISOLATION LEVEL READ COMMITTED"), QStringLiteral("SET LOCAL statement_timeout = 0"),
            QStringLiteral("SET LOCAL idle_in_transaction_session_timeout = 0"),
            QStringLiteral("LOCK TABLE schema_version IN EXCLUSIVE MODE"),
            QStringLiteral("LOCK TABLE %1 IN EXCLUSIVE MODE").arg(tables.join(QStringLiteral(", ")))};
}

QStringList PostgresDialect::portions(const QString& selection) const
{
    return {QStringLiteral("DECLARE portions NO SCROLL CURSOR FOR ") + selection,
            QStringLiteral("FETCH FORWARD 50 FROM portions"), QStringLiteral("CLOSE portions")};
}

bool PostgresDialect::run(QSqlQuery& query, const QSqlDatabase& connection, const QString& statement,
                          const QVariantList& values, Prepared& prepared) const
{
    if (values.isEmpty())
        return query.exec(statement);
    // Qt's own way would prepare and forget a statement at each use, which is three messages in place of one.
    if (!prepared.contains(statement)) {
        if (prepared.size() >= maxPrepared) {
            if (!query.exec(QStringLiteral("DEALLOCATE ALL")))
                return false;
            prepared.clear();
        }
        const QString name = QStringLiteral("quelmar%1").arg(prepared.size());
        if (!query.exec(QStringLiteral("PREPARE %1 AS ").arg(name) + numbered(statement)))
            return false;
        prepared.insert(statement, name);
    }
    QStringList literals;
    literals.reserve(values.size());
    for (const QVariant& value : values)
        literals.append(literal(*connection.driver(), value));
    return query.exec(QStringLiteral("EXECUTE ") + prepared.value(statement) + QStringLiteral(" (") +
                      literals.join(QStringLiteral(", ")) + QLatin1Char(')'));
}

DatabaseError PostgresDialect::error(const QSqlError& error) const
{
    const QString state = error.nativeErrorCode();
    // Details, hints and the place in the statement stand in further lines, and may show values.
    const QString line = error.databaseText().trimmed().section(QLatin1Char('\n'), 0, 0);
    const bool aboutAValue = state.startsWith(QLatin1String("22"));
    const QString text = aboutAValue ? QStringLiteral("a value was refused") : line;
    return DatabaseError(state.isEmpty() ? text : QStringLiteral("%1 (%2)").arg(text, state), kindOf(state));
}

} // namespace server
