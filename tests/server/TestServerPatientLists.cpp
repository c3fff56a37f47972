// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Accounts.h"
#include "server/Database.h"
#include "server/DatabaseError.h"
#include "server/PatientStatements.h"
#include "server/Patients.h"
#include "server/Records.h"
#include "server/Secrets.h"
#include "server/TextKeys.h"
#include "server/Trigrams.h"

#include "tests/server/TestDatabase.h"

#include <QMap>
#include <QRegularExpression>
#include <QSqlDatabase>
#include <QSqlError>
#include <QSqlQuery>
#include <QTest>

#include <algorithm>
#include <atomic>
#include <memory>
#include <random>
#include <thread>
#include <tuple>
#include <vector>

using namespace server;

namespace {

/// All patients of one practitioner, listed without any database.
class Reference
{
public:
    QMap<QString, Patient> patients;

    QStringList list(const PatientQuery& query, int& pages) const
    {
        const QString needle = TextKeys::folded(query.needle);
        std::vector<std::tuple<QString, QString>> rows;
        for (const Patient& patient : patients) {
            const QString text = query.field == PatientQuery::Field::Name ? patient.name : patient.notes;
            if (TextKeys::folded(text).contains(needle))
                rows.emplace_back(key(query.sort, patient), patient.id);
        }
        std::sort(rows.begin(), rows.end());
        // Who is older was born earlier.
        if (query.descending != (query.sort == PatientQuery::Sort::Age))
            std::reverse(rows.begin(), rows.end());
        const int count = int(rows.size());
        pages = query.size > 0 ? (count + query.size - 1) / query.size : count > 0 ? 1 : 0;
        const int page = query.page < pages ? query.page : 0;
        const int first = query.size > 0 ? page * query.size : 0;
        const int end = query.size > 0 ? std::min(count, first + query.size) : count;
        QStringList ids;
        for (int i = first; i < end; ++i)
            ids.append(std::get<1>(rows.at(size_t(i))));
        return ids;
    }

private:
    static QString key(PatientQuery::Sort sort, const Patient& patient)
    {
        switch (sort) {
        case PatientQuery::Sort::Name:
            return TextKeys::sortKey(patient.name);
        case PatientQuery::Sort::Age:
            return patient.birthDate.toString(Qt::ISODate);
        case PatientQuery::Sort::Gender:
            return patient.gender;
        case PatientQuery::Sort::Record:
            return patient.lastRecordAt.toString(Qt::ISODateWithMs);
        case PatientQuery::Sort::Notes:
            return TextKeys::sortKey(patient.notes);
        }
        return QString();
    }
};

class Inventor
{
public:
    int number(int below) { return int(m_random() % unsigned(below)); }

    Patient patient()
    {
        Patient made;
        made.name = text(1 + number(4));
        made.notes = number(3) == 0 ? QString() : text(1 + number(12));
        // Few enough of them that many are equal.
        made.birthDate = QDate(1960, 1, 1).addDays(number(60));
        made.gender = number(2) == 0 ? QStringLiteral("MALE") : QStringLiteral("FEMALE");
        return made;
    }

    PatientQuery query(const Reference& reference)
    {
        PatientQuery made;
        made.sort = PatientQuery::Sort(number(5));
        made.descending = number(2) == 0;
        made.field = number(2) == 0 ? PatientQuery::Field::Name : PatientQuery::Field::Notes;
        made.size = number(12) == 0 ? 0 : 1 + number(30);
        made.page = number(3) == 0 ? 0 : number(30);
        if (number(3) != 0)
            made.needle = needle(made.field, reference);
        return made;
    }

private:
    QString text(int words)
    {
        static const QStringList known{QStringLiteral("Anna"),        QStringLiteral("ANNABEL"),
                                       QStringLiteral("Иванова"),     QStringLiteral("Семёнов"),
                                       QStringLiteral("семенова"),    QStringLiteral("Strauß"),
                                       QStringLiteral("STRASSER"),    QStringLiteral("100%"),
                                       QStringLiteral("a_b"),         QStringLiteral("a\\b"),
                                       QStringLiteral("\"quoted\""),  QStringLiteral("O'Neil"),
                                       QStringLiteral("name_folded"), QStringLiteral("NOT (x) : -*^"),
                                       QStringLiteral("김철수"),      QStringLiteral("😀😁😂"),
                                       QStringLiteral("Zoë"),         QStringLiteral("Zoe\u0308"),
                                       QStringLiteral("aaaaaaaa"),    QStringLiteral("ﷺ"),
                                       QStringLiteral("İstanbul"),    QStringLiteral("a?b $1 $$"),
                                       QStringLiteral("{a,b}"),       QStringLiteral("NULL")};
        QStringList chosen;
        for (int i = 0; i < words; ++i)
            chosen.append(known.at(number(known.size())));
        return TextKeys::normalized(chosen.join(number(5) == 0 ? QLatin1Char('-') : QLatin1Char(' ')));
    }

    QString needle(PatientQuery::Field field, const Reference& reference)
    {
        if (number(6) == 0)
            return text(1 + number(2));
        const Patient any = (reference.patients.begin() + number(reference.patients.size())).value();
        const QVector<uint> from = (field == PatientQuery::Field::Name ? any.name : any.notes).toUcs4();
        const int first = number(from.size() + 1);
        const int length = std::min(from.size() - first, 1 + number(number(3) == 0 ? 40 : 7));
        const QString part = QString::fromUcs4(from.constData() + first, length);
        return number(2) == 0 ? part.toUpper() : part;
    }

    std::mt19937 m_random{20260101};
};

/// Other than the rows of a page or the hits of a search, which were found before.
bool readsAWholeTable(const QString& plan)
{
    static const QRegularExpression whole(
        QStringLiteral("Seq Scan|Index (?:Only )?Scan (?:Backward )?using \\w+ on \\w+(?: \\w+)?\\n(?! *Index Cond)|"
                       "^SCAN (?!page$|\\(subquery|patient_search VIRTUAL TABLE INDEX \\d+:M\\d+><$)"),
        QRegularExpression::MultilineOption);
    return whole.match(plan).hasMatch();
}

QStringList ids(const QVector<Patient>& rows)
{
    QStringList all;
    for (const Patient& row : rows)
        all.append(row.id);
    return all;
}

} // namespace

/// Lists of patients: what stands on a page of whatever query, and that an engine finds it by its indexes.
class TestServerPatientLists : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void trigrams_data();
    void trigrams();
    void agreeWithAPlainReference();
    void countsFollowThePatients();
    void countsOfManyAtOnce();
    void textsFollowThePatients();
    void oddNeedles();
    void readIndexesAlone_data();
    void readIndexesAlone();

private:
    QString practitioner(const QString& name);
    int value(const QString& statement, const QVariantList& values = {});
    void fill(int practitioners, int each);
    QString plan(Statement statement);

    std::unique_ptr<TestDatabase> m_place;
    std::unique_ptr<Database> m_database;
};

void TestServerPatientLists::initTestCase()
{
    QVERIFY(Secrets::initialize());
}

void TestServerPatientLists::init()
{
    m_place = std::make_unique<TestDatabase>();
    QString error;
    m_database = Database::open(m_place->location(), error);
    QVERIFY2(m_database, qPrintable(error));
}

void TestServerPatientLists::cleanup()
{
    m_database.reset();
    m_place.reset();
}

QString TestServerPatientLists::practitioner(const QString& name)
{
    Practitioner added;
    added.name = name;
    added.language = QStringLiteral("en");
    added.country = QStringLiteral("US");
    return Accounts(*m_database).add(added, QStringLiteral("secret")).value_or(Practitioner()).id;
}

int TestServerPatientLists::value(const QString& statement, const QVariantList& values)
{
    Rows query = m_database->run(statement, values);
    return query.next() ? query.value(0).toInt() : -1;
}

void TestServerPatientLists::trigrams_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("asked");
    QTest::addColumn<QStringList>("covering");
    const auto row = [](const char* name, const QString& text, const QString& asked, const QString& covering) {
        QTest::newRow(name) << text << asked << covering.split(QLatin1Char('|'), Qt::SkipEmptyParts);
    };
    row("empty", QString(), QString(), QString());
    row("two", QStringLiteral("ab"), QString(), QString());
    row("two of four units", QStringLiteral("😀😁"), QString(), QString());
    row("three", QStringLiteral("abc"), QStringLiteral("abc"), QStringLiteral("abc"));
    row("three of six units", QStringLiteral("😀😁😂"), QStringLiteral("😀😁😂"), QStringLiteral("😀😁😂"));
    row("four", QStringLiteral("abcd"), QStringLiteral("abcd"), QStringLiteral("abc|bcd"));
    row("six", QStringLiteral("abcdef"), QStringLiteral("abcdef"), QStringLiteral("abc|def"));
    row("seven", QStringLiteral("иванова"), QStringLiteral("иванова"), QStringLiteral("ива|нов|ова"));
    row("the same again", QStringLiteral("aaaaaaa"), QStringLiteral("aaaaaaa"), QStringLiteral("aaa"));
    row("long", QStringLiteral("abcdefghijklmnopqrstuvwxyz"), QStringLiteral("abcdefghijklmnopqrstuvwx"),
        QStringLiteral("abc|def|ghi|jkl|mno|pqr|stu|vwx"));
    row("half a pair", QStringLiteral("abc") + QChar(0xd83d), QString(), QString());
    row("half a pair, the other one", QStringLiteral("abc") + QChar(0xde00) + QStringLiteral("def"), QString(),
        QString());
}

void TestServerPatientLists::trigrams()
{
    QFETCH(QString, text);
    QFETCH(QString, asked);
    QFETCH(QStringList, covering);
    QCOMPARE(Trigrams::asked(text), asked);
    QCOMPARE(Trigrams::covering(asked), covering);
}

/// Practitioners with the same kinds of patients see their own alone, whatever was changed before.
void TestServerPatientLists::agreeWithAPlainReference()
{
    constexpr int practitioners = 3;
    QVector<QString> owners;
    QVector<Reference> references(practitioners);
    for (int i = 0; i < practitioners; ++i)
        owners.append(practitioner(QStringLiteral("p%1").arg(i)));
    Inventor inventor;
    int found = 0;
    int searched = 0;
    for (int round = 0; round < 8; ++round) {
        {
            Database::Transaction transaction(*m_database);
            for (int i = 0; i < 180; ++i) {
                const int who = inventor.number(practitioners);
                Patients patients(*m_database, owners.at(who));
                QMap<QString, Patient>& known = references[who].patients;
                // Half of them to begin with; then as many go as come.
                const int what = known.isEmpty() ? 0 : inventor.number(round == 0 ? 1 : 4);
                const QString any = known.isEmpty() ? QString() : (known.begin() + inventor.number(known.size())).key();
                if (what == 0) {
                    const Patient added = patients.add(inventor.patient());
                    known.insert(added.id, added);
                } else if (what == 1) {
                    Patient changed = inventor.patient();
                    changed.id = any;
                    const std::optional<Patient> updated = patients.update(changed);
                    QVERIFY(updated);
                    known.insert(any, *updated);
                } else if (what == 2) {
                    QVERIFY(patients.remove(any));
                    known.remove(any);
                } else {
                    const QDateTime time(QDate(2026, 1, 1 + inventor.number(3)), QTime(12, 0), Qt::UTC);
                    QVERIFY(Records(*m_database, owners.at(who)).add(any, QByteArray("x"), QString(), time));
                    const std::optional<Patient> recorded = patients.find(any);
                    QVERIFY(recorded && recorded->lastRecordAt >= time);
                    known.insert(any, *recorded);
                }
            }
            transaction.commit();
        }
        for (int i = 0; i < 120; ++i) {
            const int who = inventor.number(practitioners);
            const PatientQuery query = inventor.query(references.at(who));
            int pages = 0;
            const QStringList expected = references.at(who).list(query, pages);
            const Patients::Page page = Patients(*m_database, owners.at(who)).list(query);
            const QByteArray told = QStringLiteral("sort %1 %2, field %3, size %4, page %5, needle \"%6\"")
                                        .arg(int(query.sort))
                                        .arg(query.descending)
                                        .arg(int(query.field))
                                        .arg(query.size)
                                        .arg(query.page)
                                        .arg(query.needle)
                                        .toUtf8();
            QVERIFY2(ids(page.rows) == expected, told.constData());
            QVERIFY2(page.pages == pages, told.constData());
            for (const Patient& row : page.rows) {
                const Patient& known = *references.at(who).patients.find(row.id);
                QCOMPARE(row.name, known.name);
                QCOMPARE(row.notes, known.notes);
                QCOMPARE(row.birthDate, known.birthDate);
                QCOMPARE(row.gender, known.gender);
                QCOMPARE(row.lastRecordAt, known.lastRecordAt);
            }
            searched += query.needle.isEmpty() ? 0 : 1;
            found += query.needle.isEmpty() || expected.isEmpty() ? 0 : 1;
        }
    }
    // Or else nothing was compared.
    QVERIFY(searched > 400);
    QVERIFY(found > 300);
}

void TestServerPatientLists::countsFollowThePatients()
{
    const QString anna = practitioner(QStringLiteral("anna"));
    const QString boris = practitioner(QStringLiteral("boris"));
    const QString counted = QStringLiteral("SELECT patients FROM patient_counts WHERE practitioner_id = ?");
    PatientQuery single;
    single.size = 1;
    Patients patients(*m_database, anna);
    QCOMPARE(patients.list(single).pages, 0);
    Patient patient;
    patient.birthDate = QDate(1980, 1, 1);
    patient.gender = QStringLiteral("MALE");
    QStringList all;
    for (int i = 0; i < 3; ++i) {
        patient.name = QStringLiteral("Somebody %1").arg(i);
        all.append(patients.add(patient).id);
        QCOMPARE(patients.list(single).pages, i + 1);
    }
    Patients(*m_database, boris).add(patient);

    patient.id = all.first();
    QVERIFY(patients.update(patient));
    QCOMPARE(patients.list(single).pages, 3);
    QVERIFY(!patients.remove(QStringLiteral("none")));
    QCOMPARE(patients.list(single).pages, 3);
    QVERIFY(patients.remove(all.takeFirst()));
    QCOMPARE(patients.list(single).pages, 2);

    // What was given up leaves no trace.
    {
        Database::Transaction transaction(*m_database);
        patients.add(patient);
        QVERIFY(patients.remove(all.first()));
        QVERIFY(patients.remove(all.last()));
        QCOMPARE(patients.list(single).pages, 1);
    }
    QCOMPARE(patients.list(single).pages, 2);

    // One who goes from one practitioner to the other.
    m_database->run(QStringLiteral("UPDATE patients SET practitioner_id = ? WHERE id = ?"), {boris, all.first()});
    QCOMPARE(patients.list(single).pages, 1);
    QCOMPARE(Patients(*m_database, boris).list(single).pages, 2);
    PatientQuery somebody;
    somebody.needle = QStringLiteral("somebody 1");
    QCOMPARE(ids(Patients(*m_database, boris).list(somebody).rows), {all.first()});
    QCOMPARE(patients.list(somebody).pages, 0);

    m_database->run(QStringLiteral("DELETE FROM practitioners WHERE id = ?"), {boris});
    QCOMPARE(value(counted, {boris}), -1);
    QCOMPARE(value(counted, {anna}), 1);
    QCOMPARE(value(QStringLiteral("SELECT COUNT(*) FROM patient_texts")), 1);
    QCOMPARE(patients.list(single).pages, 1);
}

void TestServerPatientLists::countsOfManyAtOnce()
{
    const QString anna = practitioner(QStringLiteral("anna"));
    constexpr int threads = 8;
    constexpr int each = 12;
    std::atomic<int> failures{0};
    std::vector<std::thread> running;
    running.reserve(threads);
    for (int t = 0; t < threads; ++t) {
        running.emplace_back([&, t] {
            try {
                Patients patients(*m_database, anna);
                for (int i = 0; i < each; ++i) {
                    Patient patient;
                    patient.name = QStringLiteral("Thread %1").arg(t);
                    patient.birthDate = QDate(1980, 1, 1);
                    patient.gender = QStringLiteral("MALE");
                    const QString id = m_database->attempt([&] { return patients.add(patient); }).id;
                    // One in three goes again.
                    if (i % 3 == 0 && !m_database->attempt([&] { return patients.remove(id); }))
                        ++failures;
                }
            } catch (const DatabaseError& error) {
                qWarning("%s", error.what());
                ++failures;
            }
        });
    }
    for (std::thread& thread : running)
        thread.join();
    QCOMPARE(failures.load(), 0);
    const int left = threads * each * 2 / 3;
    QCOMPARE(value(QStringLiteral("SELECT patients FROM patient_counts")), left);
    QCOMPARE(value(QStringLiteral("SELECT COUNT(*) FROM patients")), left);
    PatientQuery query;
    query.size = 1;
    QCOMPARE(Patients(*m_database, anna).list(query).pages, left);
    query.needle = QStringLiteral("thread 3");
    QCOMPARE(Patients(*m_database, anna).list(query).pages, each * 2 / 3);
}

/// The texts for searches are those of the patients, and the index has nothing that is not in them.
void TestServerPatientLists::textsFollowThePatients()
{
    const QString anna = practitioner(QStringLiteral("anna"));
    Patients patients(*m_database, anna);
    Inventor inventor;
    QStringList all;
    for (int i = 0; i < 60; ++i)
        all.append(patients.add(inventor.patient()).id);
    for (int i = 0; i < 60; i += 3)
        QVERIFY(patients.remove(all.at(i)));
    for (int i = 1; i < 60; i += 3) {
        Patient changed = inventor.patient();
        changed.id = all.at(i);
        QVERIFY(patients.update(changed));
    }
    QCOMPARE(value(QStringLiteral("SELECT COUNT(*) FROM patient_texts")), 40);
    QCOMPARE(value(QStringLiteral("SELECT COUNT(*) FROM patient_texts t JOIN patients p ON p.id = t.patient_id "
                                  "AND p.name_folded = t.name_folded AND p.notes_folded = t.notes_folded")),
             40);
    if (TestDatabase::isPostgres())
        return;
    // The engine compares its index with the texts, and fails if they differ.
    m_database->run(QStringLiteral("INSERT INTO patient_search (patient_search, rank) VALUES ('integrity-check', 1)"));
}

void TestServerPatientLists::oddNeedles()
{
    Patients patients(*m_database, practitioner(QStringLiteral("anna")));
    Patient patient;
    patient.birthDate = QDate(1980, 1, 1);
    patient.gender = QStringLiteral("MALE");
    patient.name = QStringLiteral("Anna 😀 Bo");
    patient.notes = QString(10000, QLatin1Char('x')) + QStringLiteral("end");
    const QString id = patients.add(patient).id;
    const auto pages = [&patients](const QString& needle, PatientQuery::Field field = PatientQuery::Field::Name) {
        PatientQuery query;
        query.needle = needle;
        query.field = field;
        return patients.list(query).pages;
    };
    QCOMPARE(pages(QStringLiteral("A 😀 B")), 1);
    QCOMPARE(pages(QStringLiteral("😀")), 1);
    QCOMPARE(pages(QStringLiteral("😁")), 0);
    // No valid text: nothing has it, and no engine may stumble over it.
    QCOMPARE(pages(QStringLiteral("zzz") + QChar(0xd83d)), 0);
    QCOMPARE(pages(QString(QChar(0xde00)) + QStringLiteral("zzz")), 0);
    QCOMPARE(pages(QString(1000, QLatin1Char('x')), PatientQuery::Field::Notes), 1);
    QCOMPARE(pages(QString(997, QLatin1Char('x')) + QStringLiteral("end"), PatientQuery::Field::Notes), 1);
    QCOMPARE(pages(QString(997, QLatin1Char('x')) + QStringLiteral("ens"), PatientQuery::Field::Notes), 0);
    // Only the beginning is looked up; the rest has to stand there all the same.
    QCOMPARE(pages(QString(Trigrams::maxAsked, QLatin1Char('x')) + QStringLiteral("y"), PatientQuery::Field::Notes), 0);
    QVERIFY(patients.remove(id));
    QCOMPARE(pages(QStringLiteral("Anna")), 0);
}

/// Patients with all that lists need, by the engine itself: thousands of them take no time.
void TestServerPatientLists::fill(int practitioners, int each)
{
    for (int who = 0; who <= practitioners; ++who) {
        m_database->run(QStringLiteral("INSERT INTO practitioners (id, name, full_name, password_hash, language, "
                                       "country, created_at) VALUES (?, ?, '', '', 'en', 'US', '')"),
                        {QStringLiteral("o%1").arg(who), QStringLiteral("o%1").arg(who)});
    }
    m_database->run(QStringLiteral("INSERT INTO patients (id, practitioner_id, name, birth_date, gender, phone, notes, "
                                   "name_folded, notes_folded, name_key, notes_key, last_record_at, created_at) "
                                   "WITH RECURSIVE n (i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n WHERE i + 1 < %1) "
                                   "SELECT 'p' || i, 'o' || (i % %2), '', CAST(i % 977 AS TEXT), "
                                   "CASE WHEN i % 2 = 0 THEN 'MALE' ELSE 'FEMALE' END, '', '', 'name' || i, "
                                   "'note' || (i % 1009), CAST(i % 10007 AS TEXT), CAST(i % 1009 AS TEXT), "
                                   "CAST(i % 101 AS TEXT), '' FROM n")
                        .arg(practitioners * each)
                        .arg(practitioners));
    m_database->run(QStringLiteral("INSERT INTO devices (patient_id, device_id, bound_at) "
                                   "SELECT id, id, '' FROM patients WHERE name_key LIKE '%3'"));
    m_database->run(QStringLiteral("INSERT INTO commands (id, patient_id, name, record_id, complete, sent_at) "
                                   "SELECT patient_id, patient_id, 'RECORD', NULL, 1, '' FROM devices"));
}

QString TestServerPatientLists::plan(Statement statement)
{
    // PostgreSQL explains no statement with values left open.
    for (const QVariant& value : qAsConst(statement.values)) {
        const bool text = value.userType() == QMetaType::QString;
        statement.text.replace(statement.text.indexOf(QLatin1Char('?')), 1,
                               text ? QLatin1Char('\'') + value.toString() + QLatin1Char('\'') : value.toString());
    }
    const bool postgres = TestDatabase::isPostgres();
    Rows query = m_database->run(
        (postgres ? QStringLiteral("EXPLAIN (COSTS OFF) ") : QStringLiteral("EXPLAIN QUERY PLAN ")) + statement.text);
    QStringList lines;
    while (query.next())
        lines.append(query.value(postgres ? 0 : 3).toString());
    return lines.join(QLatin1Char('\n'));
}

void TestServerPatientLists::readIndexesAlone_data()
{
    QTest::addColumn<int>("sort");
    QTest::addColumn<QString>("index");
    QTest::newRow("name") << int(PatientQuery::Sort::Name) << QStringLiteral("patients_by_name");
    QTest::newRow("age") << int(PatientQuery::Sort::Age) << QStringLiteral("patients_by_birth");
    QTest::newRow("gender") << int(PatientQuery::Sort::Gender) << QStringLiteral("patients_by_gender");
    QTest::newRow("record") << int(PatientQuery::Sort::Record) << QStringLiteral("patients_by_record");
    QTest::newRow("notes") << int(PatientQuery::Sort::Notes) << QStringLiteral("patients_by_notes");
}

/// What the engines say that they do: no sorting, no reading of whole tables, nothing of patients who are not shown.
void TestServerPatientLists::readIndexesAlone()
{
    QFETCH(int, sort);
    QFETCH(QString, index);
    constexpr int each = 600;
    fill(20, each);
    const bool postgres = TestDatabase::isPostgres();
    if (postgres) {
        // What an index alone can tell is known after this.
        m_database->run(QStringLiteral("VACUUM ANALYZE"));
    }
    const PatientStatements statements(m_database->dialect(), QStringLiteral("o7"));
    PatientQuery query;
    query.sort = PatientQuery::Sort(sort);

    for (const bool descending : {false, true}) {
        query.descending = descending;
        for (const int page : {0, 3, 14, 15, 26, 29}) {
            query.page = page;
            const Statement statement = statements.page(query, each);
            const QString told = plan(statement);
            QVERIFY2(told.contains(postgres ? QStringLiteral("Index Only Scan") : QStringLiteral("COVERING INDEX")),
                     qPrintable(told));
            QVERIFY2(told.contains(index), qPrintable(told));
            QVERIFY2(!told.contains(QLatin1String("Sort")) && !told.contains(QLatin1String("TEMP B-TREE")),
                     qPrintable(told));
            QVERIFY2(!readsAWholeTable(told), qPrintable(told));
            // The nearer end is never more than half of them away.
            const int skipped = statement.values.last().toInt();
            QCOMPARE(skipped, 20 * std::min(page, 29 - page));
            if (postgres && descending != (query.sort == PatientQuery::Sort::Age))
                QCOMPARE(told.contains(QLatin1String("Backward")), page < 15);
        }
    }

    query.page = 0;
    for (const auto field : {PatientQuery::Field::Name, PatientQuery::Field::Notes}) {
        query.field = field;
        const QString byText = plan(statements.search(query, QStringLiteral("te99")));
        QVERIFY2(byText.contains(!postgres                            ? QStringLiteral("patient_search VIRTUAL TABLE")
                                 : field == PatientQuery::Field::Name ? QStringLiteral("patient_texts_by_name")
                                                                      : QStringLiteral("patient_texts_by_notes")),
                 qPrintable(byText));
        const QString byScan = plan(statements.search(query, QStringLiteral("te")));
        QVERIFY2(byScan.contains(postgres ? QStringLiteral("patient_texts_by_practitioner")
                                          : QStringLiteral("SEARCH t USING INTEGER PRIMARY KEY (rowid>? AND rowid<?)")),
                 qPrintable(byScan));
        QVERIFY2(!readsAWholeTable(byText), qPrintable(byText));
        QVERIFY2(!readsAWholeTable(byScan), qPrintable(byScan));
    }

    const QString counted = plan(statements.count());
    QVERIFY2(counted.contains(QLatin1String("patient_counts")) && counted.count(QLatin1Char('\n')) <= 1,
             qPrintable(counted));
    if (!postgres)
        QVERIFY2(!readsAWholeTable(counted), qPrintable(counted));
}

QTEST_GUILESS_MAIN(TestServerPatientLists)

#include "TestServerPatientLists.moc"
