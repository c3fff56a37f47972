// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/PatientStatements.h"

#include "server/Dialect.h"

#include <algorithm>

namespace server {

namespace {

constexpr QChar escape = QLatin1Char('\\');

/// The row of a patient "p" behind the two columns that the list needs.
QString selection(const QString& key, const QString& total)
{
    return QStringLiteral("SELECT %1, %2, p.id, p.name, p.birth_date, p.gender, p.phone, p.notes, p.last_record_at, "
                          "d.patient_id IS NOT NULL, p.device_enabled, c.name, c.complete FROM ")
        .arg(key, total);
}

QString joins()
{
    return QStringLiteral(" LEFT JOIN devices d ON d.patient_id = p.id LEFT JOIN commands c ON c.patient_id = p.id");
}

QString keyOf(PatientQuery::Sort sort)
{
    switch (sort) {
    case PatientQuery::Sort::Name:
        return QStringLiteral("p.name_key");
    case PatientQuery::Sort::Age:
        return QStringLiteral("p.birth_date");
    case PatientQuery::Sort::Gender:
        return QStringLiteral("p.gender");
    case PatientQuery::Sort::Record:
        return QStringLiteral("p.last_record_at");
    case PatientQuery::Sort::Notes:
        return QStringLiteral("p.notes_key");
    }
    return QString();
}

/// The rows of the page first, then what belongs to them.
QString paged(const QString& chosen, const QString& total)
{
    return selection(QStringLiteral("page.page_key"), total) + QLatin1Char('(') + chosen +
           QStringLiteral(") page JOIN patients p ON p.id = page.page_id") + joins();
}

QString ordered(bool descending)
{
    const QString direction = descending ? QStringLiteral("DESC") : QStringLiteral("ASC");
    return QStringLiteral(" ORDER BY page_key %1, page_id %1").arg(direction);
}

/// A pattern that finds the text anywhere, with what LIKE takes for wildcards taken literally.
QString containing(const QString& text)
{
    QString pattern = text;
    for (const QChar special : {escape, QChar(QLatin1Char('%')), QChar(QLatin1Char('_'))})
        pattern.replace(special, QString(escape) + special);
    return QLatin1Char('%') + pattern + QLatin1Char('%');
}

} // namespace

PatientStatements::PatientStatements(const Dialect& dialect, const QString& practitionerId)
    : m_dialect(dialect)
    , m_practitionerId(practitionerId)
{
}

bool PatientStatements::descends(const PatientQuery& query)
{
    // The older somebody is, the earlier the birth.
    return query.descending != (query.sort == PatientQuery::Sort::Age);
}

Statement PatientStatements::find(const QString& id) const
{
    return {selection(QStringLiteral("''"), QStringLiteral("1")) + QStringLiteral("patients p") + joins() +
                QStringLiteral(" WHERE p.id = ? AND p.practitioner_id = ?"),
            {id, m_practitionerId}};
}

Statement PatientStatements::count() const
{
    return {QStringLiteral("SELECT patients FROM patient_counts WHERE practitioner_id = ?"), {m_practitionerId}};
}

Statement PatientStatements::all(const PatientQuery& query) const
{
    return {selection(keyOf(query.sort), QStringLiteral("1")) + QStringLiteral("patients p") + joins() +
                QStringLiteral(" WHERE p.practitioner_id = ?"),
            {m_practitionerId}};
}

Statement PatientStatements::page(const PatientQuery& query, qint64 total) const
{
    const qint64 before = qint64(query.page) * query.size;
    const qint64 rows = std::min<qint64>(query.size, total - before);
    const qint64 after = total - before - rows;
    const bool backwards = after < before;
    const QString chosen = QStringLiteral("SELECT p.id AS page_id, %1 AS page_key FROM patients p "
                                          "WHERE p.practitioner_id = ?%2 LIMIT ? OFFSET ?")
                               .arg(keyOf(query.sort), ordered(descends(query) != backwards));
    return {paged(chosen, QStringLiteral("0")), {m_practitionerId, rows, backwards ? after : before}};
}

Statement PatientStatements::search(const PatientQuery& query, const QString& folded) const
{
    const QString column =
        query.field == PatientQuery::Field::Name ? QStringLiteral("name_folded") : QStringLiteral("notes_folded");
    const Statement found = m_dialect.patientsContaining(m_practitionerId, column, folded, containing(folded));
    // Both the number and the order of the hits need all of them, so they are looked for once.
    QString chosen = QStringLiteral("SELECT p.id AS page_id, %1 AS page_key, COUNT(*) OVER () AS page_total")
                         .arg(keyOf(query.sort)) +
                     found.text;
    QVariantList values = found.values;
    if (query.size > 0) {
        chosen += ordered(descends(query)) + QStringLiteral(" LIMIT ? OFFSET ?");
        values << query.size << qint64(query.page) * query.size;
    }
    return {paged(chosen, QStringLiteral("page.page_total")), values};
}

} // namespace server
