// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Workbook.h"

#include <QMap>
#include <QRegularExpression>
#include <QXmlStreamReader>
#include <QtTest>

#include <zip.h>

using server::Workbook;

namespace {

/// Just enough of a reader to see what a spreadsheet program would see.
class Book
{
public:
    explicit Book(const QByteArray& bytes)
    {
        zip_error_t error;
        zip_error_init(&error);
        zip_source_t* source = zip_source_buffer_create(bytes.constData(), zip_uint64_t(bytes.size()), 0, &error);
        zip_t* archive = zip_open_from_source(source, ZIP_RDONLY | ZIP_CHECKCONS, &error);
        if (!archive) {
            zip_source_free(source);
            zip_error_fini(&error);
            return;
        }
        for (zip_int64_t i = 0; i < zip_get_num_entries(archive, 0); ++i) {
            zip_stat_t stat;
            zip_stat_index(archive, zip_uint64_t(i), 0, &stat);
            QByteArray content(int(stat.size), '\0');
            zip_file_t* file = zip_fopen_index(archive, zip_uint64_t(i), 0);
            const bool read = file && zip_fread(file, content.data(), stat.size) == zip_int64_t(stat.size);
            if (read && zip_fclose(file) == 0) {
                m_entries.insert(QString::fromUtf8(stat.name), content);
            }
        }
        zip_close(archive);
        zip_error_fini(&error);
        readShared();
        readStyles();
    }

    QStringList entries() const { return m_entries.keys(); }

    QStringList sheetNames() const
    {
        QStringList names;
        QXmlStreamReader xml(m_entries.value(QStringLiteral("xl/workbook.xml")));
        while (!xml.atEnd()) {
            if (xml.readNext() == QXmlStreamReader::StartElement && xml.name() == QLatin1String("sheet")) {
                names.append(xml.attributes().value(QLatin1String("name")).toString());
            }
        }
        return xml.hasError() ? QStringList() : names;
    }

    /// Cells by their address: "s:" a text, "n:" a number and the format that shows it, "f:" a formula.
    QMap<QString, QString> sheet(int number) const
    {
        QMap<QString, QString> cells;
        QXmlStreamReader xml(m_entries.value(QStringLiteral("xl/worksheets/sheet%1.xml").arg(number)));
        QString address;
        QString type;
        int style = 0;
        while (!xml.atEnd()) {
            if (xml.readNext() != QXmlStreamReader::StartElement) {
                continue;
            }
            if (xml.name() == QLatin1String("c")) {
                address = xml.attributes().value(QLatin1String("r")).toString();
                type = xml.attributes().value(QLatin1String("t")).toString();
                style = xml.attributes().value(QLatin1String("s")).toInt();
            } else if (xml.name() == QLatin1String("f")) {
                cells.insert(address, QStringLiteral("f:") + xml.readElementText());
            } else if (xml.name() == QLatin1String("v")) {
                const QString value = xml.readElementText();
                cells.insert(address, type == QLatin1String("s")
                                          ? QStringLiteral("s:") + m_shared.value(value.toInt())
                                          : QStringLiteral("n:%1 %2").arg(value, m_formats.value(style)));
            }
        }
        return xml.hasError() ? QMap<QString, QString>() : cells;
    }

    QByteArray entry(const char* name) const { return m_entries.value(QString::fromLatin1(name)); }

private:
    // In a workbook a character that XML cannot carry is written as "_xHHHH_".
    static QString decoded(const QString& text)
    {
        static const QRegularExpression escape(QStringLiteral("_x([0-9A-Fa-f]{4})_"));
        QString result;
        int from = 0;
        QRegularExpressionMatch match = escape.match(text);
        while (match.hasMatch()) {
            result += text.mid(from, match.capturedStart() - from) + QChar(match.captured(1).toUShort(nullptr, 16));
            from = match.capturedEnd();
            match = escape.match(text, from);
        }
        return result + text.mid(from);
    }

    void readShared()
    {
        QXmlStreamReader xml(m_entries.value(QStringLiteral("xl/sharedStrings.xml")));
        while (!xml.atEnd()) {
            if (xml.readNext() == QXmlStreamReader::StartElement && xml.name() == QLatin1String("t")) {
                m_shared.append(decoded(xml.readElementText()));
            }
        }
        if (xml.hasError()) {
            m_shared.clear();
        }
    }

    void readStyles()
    {
        QXmlStreamReader xml(m_entries.value(QStringLiteral("xl/styles.xml")));
        QMap<QString, QString> codes;
        bool inCells = false;
        while (!xml.atEnd()) {
            const QXmlStreamReader::TokenType token = xml.readNext();
            if (xml.name() == QLatin1String("cellXfs")) {
                inCells = token == QXmlStreamReader::StartElement;
            } else if (token == QXmlStreamReader::StartElement && xml.name() == QLatin1String("numFmt")) {
                codes.insert(xml.attributes().value(QLatin1String("numFmtId")).toString(),
                             xml.attributes().value(QLatin1String("formatCode")).toString());
            } else if (token == QXmlStreamReader::StartElement && inCells && xml.name() == QLatin1String("xf")) {
                m_formats.append(codes.value(xml.attributes().value(QLatin1String("numFmtId")).toString()));
            }
        }
    }

    QMap<QString, QByteArray> m_entries;
    QStringList m_shared;
    QStringList m_formats;
};

Workbook::PatientSheet patient()
{
    Workbook::PatientSheet sheet;
    sheet.name = QStringLiteral("Алёна Müller-O'Neill \"Ёж\" <a&b>");
    sheet.birthDate = QDate(1980, 2, 29);
    sheet.age = 41;
    sheet.gender = QStringLiteral("FEMALE");
    sheet.phone = QStringLiteral("+7 (900) 123-45-67");
    sheet.notes = QStringLiteral("=1+2\nsecond line\ttab  two blanks ");
    sheet.lastRecordAt = QDateTime(QDate(2021, 3, 4), QTime(5, 6, 7), Qt::UTC);
    return sheet;
}

QString text(const char* utf8)
{
    return QStringLiteral("s:") + QString::fromUtf8(utf8);
}

// The number under which a spreadsheet keeps a time: days since the end of 1899, counting a 29 February 1900.
QString serial(const QDate& date, const QTime& time, const char* format)
{
    const double days = double(QDate(1899, 12, 30).daysTo(date)) + time.msecsSinceStartOfDay() / 86400000.0;
    return QStringLiteral("n:%1 %2").arg(QString::number(days, 'g', 16), QLatin1String(format));
}

const char* const dateFormat = "yyyy-mm-dd";
const char* const timeFormat = "yyyy-mm-dd hh:mm:ss";

} // namespace

class TestWorkbook : public QObject
{
    Q_OBJECT

private slots:
    void isAWorkbook();
    void holdsThePatientInEnglish();
    void holdsThePatientInRussian();
    void holdsTheRecords();
    void holdsTenThousandRecords();
    void keepsTextsTexts_data();
    void keepsTextsTexts();
    void keepsStrangeCharacters_data();
    void keepsStrangeCharacters();
    void cutsWhatACellCannotHold();
    void leavesUnknownCellsEmpty();
    void writesTimesAsTheyRead();
    void writesOldDatesAsTexts();
};

void TestWorkbook::isAWorkbook()
{
    const QByteArray bytes = Workbook::create(patient(), {}, QStringLiteral("en"));
    QVERIFY(bytes.startsWith(QByteArrayLiteral("PK\3\4")));
    const Book book(bytes);
    for (const char* entry : {"[Content_Types].xml", "_rels/.rels", "xl/workbook.xml", "xl/worksheets/sheet1.xml",
                              "xl/worksheets/sheet2.xml", "xl/sharedStrings.xml", "xl/styles.xml"}) {
        QVERIFY2(book.entries().contains(QString::fromLatin1(entry)), entry);
    }
    QCOMPARE(book.sheetNames(), QStringList({QStringLiteral("Patient"), QStringLiteral("Records")}));
    QCOMPARE(Book(Workbook::create(patient(), {}, QStringLiteral("ru"))).sheetNames(),
             QStringList({QStringLiteral("Пациент"), QStringLiteral("Записи")}));
}

void TestWorkbook::holdsThePatientInEnglish()
{
    const QMap<QString, QString> cells = Book(Workbook::create(patient(), {}, QStringLiteral("en"))).sheet(1);
    const QMap<QString, QString> expected = {
        {QStringLiteral("A1"), text("Name")},
        {QStringLiteral("A2"), text("Date of birth")},
        {QStringLiteral("A3"), text("Age")},
        {QStringLiteral("A4"), text("Gender")},
        {QStringLiteral("A5"), text("Phone")},
        {QStringLiteral("A6"), text("Notes")},
        {QStringLiteral("A7"), text("Last record")},
        {QStringLiteral("B1"), text("Алёна Müller-O'Neill \"Ёж\" <a&b>")},
        {QStringLiteral("B2"), serial(QDate(1980, 2, 29), QTime(0, 0), dateFormat)},
        {QStringLiteral("B3"), QStringLiteral("n:41 ")},
        {QStringLiteral("B4"), text("Female")},
        {QStringLiteral("B5"), text("+7 (900) 123-45-67")},
        {QStringLiteral("B6"), text("=1+2\nsecond line\ttab  two blanks ")},
        {QStringLiteral("B7"), serial(QDate(2021, 3, 4), QTime(5, 6, 7), timeFormat)},
    };
    QCOMPARE(cells, expected);
}

void TestWorkbook::holdsThePatientInRussian()
{
    Workbook::PatientSheet man = patient();
    man.gender = QStringLiteral("MALE");
    const Book book(Workbook::create(man, {}, QStringLiteral("ru")));
    const QMap<QString, QString> cells = book.sheet(1);
    QCOMPARE(cells.size(), 14);
    QCOMPARE(cells.value(QStringLiteral("A1")), text("Имя"));
    QCOMPARE(cells.value(QStringLiteral("A2")), text("Дата рождения"));
    QCOMPARE(cells.value(QStringLiteral("A3")), text("Возраст"));
    QCOMPARE(cells.value(QStringLiteral("A4")), text("Пол"));
    QCOMPARE(cells.value(QStringLiteral("A5")), text("Телефон"));
    QCOMPARE(cells.value(QStringLiteral("A6")), text("Примечания"));
    QCOMPARE(cells.value(QStringLiteral("A7")), text("Последняя запись"));
    QCOMPARE(cells.value(QStringLiteral("B4")), text("Мужской"));
    const QMap<QString, QString> headings = {{QStringLiteral("A1"), text("Дата записи")},
                                             {QStringLiteral("B1"), text("Врач")},
                                             {QStringLiteral("C1"), text("Анкета")},
                                             {QStringLiteral("D1"), text("Датчик")}};
    QCOMPARE(book.sheet(2), headings);
}

void TestWorkbook::holdsTheRecords()
{
    const QVector<Workbook::RecordRow> records = {
        {QDateTime(QDate(2021, 12, 31), QTime(23, 59, 59), Qt::UTC), QStringLiteral("Dr. Gräfe"), true,
         QStringLiteral("0001-AF")},
        {QDateTime(QDate(2020, 2, 29), QTime(0, 0, 0), Qt::UTC), QStringLiteral("Ёлкина Ё. Ё."), false, QString()},
    };
    const QMap<QString, QString> english = {
        {QStringLiteral("A1"), text("Recorded at")},
        {QStringLiteral("B1"), text("Doctor")},
        {QStringLiteral("C1"), text("Questionnaire")},
        {QStringLiteral("D1"), text("Sensor")},
        {QStringLiteral("A2"), serial(QDate(2021, 12, 31), QTime(23, 59, 59), timeFormat)},
        {QStringLiteral("B2"), text("Dr. Gräfe")},
        {QStringLiteral("C2"), text("Yes")},
        {QStringLiteral("D2"), text("0001-AF")},
        {QStringLiteral("A3"), serial(QDate(2020, 2, 29), QTime(0, 0), timeFormat)},
        {QStringLiteral("B3"), text("Ёлкина Ё. Ё.")},
        {QStringLiteral("C3"), text("No")},
    };
    QCOMPARE(Book(Workbook::create(patient(), records, QStringLiteral("en"))).sheet(2), english);
    const QMap<QString, QString> russian = Book(Workbook::create(patient(), records, QStringLiteral("ru_RU"))).sheet(2);
    QCOMPARE(russian.size(), english.size());
    QCOMPARE(russian.value(QStringLiteral("C2")), text("Да"));
    QCOMPARE(russian.value(QStringLiteral("C3")), text("Нет"));
}

void TestWorkbook::holdsTenThousandRecords()
{
    QVector<Workbook::RecordRow> records;
    const QDateTime start(QDate(2000, 1, 1), QTime(8, 0), Qt::UTC);
    for (int i = 0; i < 10000; ++i) {
        records.append({start.addSecs(i * 3607), QStringLiteral("Врач %1").arg(i % 7), i % 3 == 0, QString::number(i)});
    }
    const QMap<QString, QString> cells = Book(Workbook::create(patient(), records, QStringLiteral("en"))).sheet(2);
    QCOMPARE(cells.size(), 4 + 4 * 10000);
    for (int i = 0; i < 10000; ++i) {
        const QString row = QString::number(i + 2);
        const Workbook::RecordRow& record = records.at(i);
        const QStringList shown = cells.value(QStringLiteral("A") + row).mid(2).split(QLatin1Char(' '));
        const double days = shown.first().toDouble();
        const double expected = double(QDate(1899, 12, 30).daysTo(record.recordedAt.date())) +
                                record.recordedAt.time().msecsSinceStartOfDay() / 86400000.0;
        QVERIFY(std::abs(days - expected) < 0.1 / 86400);
        QCOMPARE(cells.value(QStringLiteral("B") + row), QStringLiteral("s:") + record.doctorName);
        QCOMPARE(cells.value(QStringLiteral("C") + row), text(record.questionnaire ? "Yes" : "No"));
        QCOMPARE(cells.value(QStringLiteral("D") + row), QStringLiteral("s:") + record.sensorId);
    }
}

void TestWorkbook::keepsTextsTexts_data()
{
    QTest::addColumn<QString>("notes");
    QTest::newRow("formula") << QStringLiteral("=HYPERLINK(\"http://quelmar.example\")");
    QTest::newRow("array formula") << QStringLiteral("{=SUM(A1:A3)}");
    QTest::newRow("plus") << QStringLiteral("+1");
    QTest::newRow("minus") << QStringLiteral("-1+1");
    QTest::newRow("at") << QStringLiteral("@SUM(1)");
    QTest::newRow("number") << QStringLiteral("007");
    QTest::newRow("date") << QStringLiteral("2021-03-04");
    QTest::newRow("address") << QStringLiteral("http://quelmar.example/?a=1&b=2");
    QTest::newRow("blanks") << QStringLiteral("  two before, two behind  ");
    QTest::newRow("quotes") << QStringLiteral("\"quoted\" 'single' «ёлочки» “curly”");
    QTest::newRow("markup") << QStringLiteral("<b>&amp;</b> ]]>");
    QTest::newRow("Cyrillic") << QStringLiteral("Съешь же ещё этих мягких французских булок");
    QTest::newRow("beyond the first plane") << QString::fromUtf8("\xF0\x9F\x98\x80 \xF0\x9D\x84\x9E");
}

void TestWorkbook::keepsTextsTexts()
{
    QFETCH(QString, notes);
    Workbook::PatientSheet sheet = patient();
    sheet.notes = notes;
    sheet.name = notes;
    const QVector<Workbook::RecordRow> records = {{QDateTime(), notes, false, notes}};
    const Book book(Workbook::create(sheet, records, QStringLiteral("en")));
    QCOMPARE(book.sheet(1).value(QStringLiteral("B6")), QStringLiteral("s:") + notes);
    QCOMPARE(book.sheet(1).value(QStringLiteral("B1")), QStringLiteral("s:") + notes);
    QCOMPARE(book.sheet(2).value(QStringLiteral("B2")), QStringLiteral("s:") + notes);
    QCOMPARE(book.sheet(2).value(QStringLiteral("D2")), QStringLiteral("s:") + notes);
    for (const char* entry : {"xl/worksheets/sheet1.xml", "xl/worksheets/sheet2.xml"}) {
        QVERIFY(!book.entry(entry).contains("<f>"));
        QVERIFY(!book.entry(entry).contains("hyperlink"));
    }
}

void TestWorkbook::keepsStrangeCharacters_data()
{
    QTest::addColumn<QString>("notes");
    QTest::addColumn<QString>("kept");
    const QString replacement = QChar(QChar::ReplacementCharacter);
    QTest::newRow("control") << QStringLiteral("a\x01") + QStringLiteral("b")
                             << QStringLiteral("a\x01") + QStringLiteral("b");
    QTest::newRow("looks like an escape") << QStringLiteral("id_x0041_b") << QStringLiteral("id_x0041_b");
    QTest::newRow("zero") << QStringLiteral("a") + QChar(0) + QStringLiteral("b")
                          << QStringLiteral("a") + replacement + QStringLiteral("b");
    QTest::newRow("lone high surrogate") << QStringLiteral("a") + QChar(0xD83D) << QStringLiteral("a") + replacement;
    QTest::newRow("lone low surrogate") << QChar(0xDE00) + QStringLiteral("a") << replacement + QStringLiteral("a");
    QTest::newRow("non-character") << QStringLiteral("a") + QChar(0xFFFF) << QStringLiteral("a") + replacement;
}

void TestWorkbook::keepsStrangeCharacters()
{
    QFETCH(QString, notes);
    QFETCH(QString, kept);
    Workbook::PatientSheet sheet = patient();
    sheet.notes = notes;
    const QMap<QString, QString> cells = Book(Workbook::create(sheet, {}, QStringLiteral("en"))).sheet(1);
    QCOMPARE(cells.value(QStringLiteral("B6")), QStringLiteral("s:") + kept);
    QCOMPARE(cells.size(), 14);
}

void TestWorkbook::cutsWhatACellCannotHold()
{
    Workbook::PatientSheet sheet = patient();
    sheet.notes = QString(40000, QChar(0x0416));
    QCOMPARE(Book(Workbook::create(sheet, {}, QStringLiteral("en"))).sheet(1).value(QStringLiteral("B6")),
             QStringLiteral("s:") + QString(32767, QChar(0x0416)));
    // Escaped, each of these takes more room than it shows.
    sheet.notes = QStringLiteral("_x0041_").repeated(4000);
    const QString escaped =
        Book(Workbook::create(sheet, {}, QStringLiteral("en"))).sheet(1).value(QStringLiteral("B6"));
    QVERIFY(escaped.size() > 10000);
    QVERIFY((QStringLiteral("s:") + sheet.notes).startsWith(escaped));
    // The last pair does not fit whole.
    sheet.notes = QStringLiteral("a") + QString::fromUtf8("\xF0\x9F\x98\x80").repeated(20000);
    QCOMPARE(Book(Workbook::create(sheet, {}, QStringLiteral("en"))).sheet(1).value(QStringLiteral("B6")),
             QStringLiteral("s:a") + QString::fromUtf8("\xF0\x9F\x98\x80").repeated(16383));
    sheet.notes = QStringLiteral("ab") + QString::fromUtf8("\xF0\x9F\x98\x80").repeated(20000);
    QCOMPARE(Book(Workbook::create(sheet, {}, QStringLiteral("en"))).sheet(1).value(QStringLiteral("B6")),
             QStringLiteral("s:ab") + QString::fromUtf8("\xF0\x9F\x98\x80").repeated(16382));
}

void TestWorkbook::leavesUnknownCellsEmpty()
{
    Workbook::PatientSheet sheet;
    sheet.gender = QStringLiteral("male");
    const QVector<Workbook::RecordRow> records = {{QDateTime(), QString(), true, QString()}};
    const Book book(Workbook::create(sheet, records, QString()));
    const QMap<QString, QString> cells = book.sheet(1);
    QCOMPARE(cells.size(), 8);
    QCOMPARE(cells.value(QStringLiteral("B3")), QStringLiteral("n:0 "));
    QCOMPARE(book.sheet(2).size(), 5);
    QCOMPARE(book.sheet(2).value(QStringLiteral("C2")), text("Yes"));
}

void TestWorkbook::writesTimesAsTheyRead()
{
    Workbook::PatientSheet sheet = patient();
    sheet.lastRecordAt = QDateTime(QDate(2021, 7, 1), QTime(12, 30), Qt::OffsetFromUTC, 5 * 3600);
    QCOMPARE(Book(Workbook::create(sheet, {}, QStringLiteral("en"))).sheet(1).value(QStringLiteral("B7")),
             serial(QDate(2021, 7, 1), QTime(12, 30), timeFormat));
}

void TestWorkbook::writesOldDatesAsTexts()
{
    Workbook::PatientSheet sheet = patient();
    sheet.birthDate = QDate(1899, 12, 31);
    QCOMPARE(Book(Workbook::create(sheet, {}, QStringLiteral("en"))).sheet(1).value(QStringLiteral("B2")),
             text("1899-12-31"));
    // A spreadsheet believes in a 29 February 1900, so its numbers are one less until then.
    sheet.birthDate = QDate(1900, 1, 1);
    QCOMPARE(Book(Workbook::create(sheet, {}, QStringLiteral("en"))).sheet(1).value(QStringLiteral("B2")),
             QStringLiteral("n:1 yyyy-mm-dd"));
    sheet.birthDate = QDate(9999, 12, 31);
    QCOMPARE(Book(Workbook::create(sheet, {}, QStringLiteral("en"))).sheet(1).value(QStringLiteral("B2")),
             serial(QDate(9999, 12, 31), QTime(0, 0), dateFormat));
    // The other end of what has a number.
    sheet.birthDate = QDate(12345, 1, 1);
    QVERIFY(Book(Workbook::create(sheet, {}, QStringLiteral("en")))
                .sheet(1)
                .value(QStringLiteral("B2"))
                .startsWith(QStringLiteral("s:")));
}

QTEST_GUILESS_MAIN(TestWorkbook)
#include "TestWorkbook.moc"
