// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Workbook.h"

#include "server/LocalText.h"

#include <QFile>
#include <QRegularExpression>
#include <QTemporaryDir>

#include <xlsxwriter.h>

namespace server {

namespace {

constexpr int cellCapacity = 32767; // UTF-16 units

// The years that a workbook has dates for.
bool isStorable(const QDate& date)
{
    return date.year() >= 1900 && date.year() <= 9999;
}

constexpr double labelWidth = 22;
constexpr double dateTimeWidth = 20;
constexpr double textWidth = 34;
constexpr double notesWidth = 60;

// XML can carry neither a zero nor the two non-characters, and a surrogate without its other half is no character at
// all.
bool isStorable(QChar character)
{
    return !character.isNull() && !character.isSurrogate() && character.unicode() < 0xFFFE;
}

QByteArray cellText(const QString& text)
{
    // What a user typed like this would be read back as the character of that number, unless its "_" is written so.
    static const QRegularExpression escape(QStringLiteral("_x[0-9A-Fa-f]{4}_"));
    const QString escapedUnderscore = QStringLiteral("_x005F_");

    QString clean;
    for (int i = 0; i < text.size(); ++i) {
        const QChar character = text.at(i);
        QString piece(character);
        if (character.isHighSurrogate() && i + 1 < text.size() && text.at(i + 1).isLowSurrogate()) {
            piece += text.at(++i);
        } else if (!isStorable(character)) {
            piece = QChar(QChar::ReplacementCharacter);
        } else if (character == QLatin1Char('_') &&
                   escape.match(text, i, QRegularExpression::NormalMatch, QRegularExpression::AnchoredMatchOption)
                       .hasMatch()) {
            piece = escapedUnderscore;
        }
        if (clean.size() + piece.size() > cellCapacity) {
            break;
        }
        clean += piece;
    }
    return clean.toUtf8();
}

// Collects the first error of many calls, so that each needs no branch of its own.
class Sheet
{
public:
    Sheet(lxw_workbook* book, const QString& name)
        : m_sheet(workbook_add_worksheet(book, name.toUtf8().constData()))
        , m_heading(workbook_add_format(book))
        , m_text(workbook_add_format(book))
        , m_date(workbook_add_format(book))
        , m_dateTime(workbook_add_format(book))
    {
        if (!isGood()) {
            return;
        }
        format_set_bold(m_heading);
        format_set_align(m_text, LXW_ALIGN_LEFT);
        format_set_align(m_text, LXW_ALIGN_VERTICAL_TOP);
        format_set_text_wrap(m_text);
        format_set_num_format(m_date, "yyyy-mm-dd");
        format_set_num_format(m_dateTime, "yyyy-mm-dd hh:mm:ss");
        for (lxw_format* format : {m_date, m_dateTime}) {
            format_set_align(format, LXW_ALIGN_LEFT);
            format_set_align(format, LXW_ALIGN_VERTICAL_TOP);
        }
    }

    bool isGood() const { return m_sheet && m_heading && m_text && m_date && m_dateTime && m_error == LXW_NO_ERROR; }

    void setWidth(lxw_col_t column, double width)
    {
        if (isGood()) {
            m_error = worksheet_set_column(m_sheet, column, column, width, nullptr);
        }
    }

    void writeHeading(lxw_row_t row, lxw_col_t column, const QString& text) { write(row, column, text, m_heading); }
    void writeText(lxw_row_t row, lxw_col_t column, const QString& text) { write(row, column, text, m_text); }

    void writeNumber(lxw_row_t row, lxw_col_t column, double number)
    {
        if (isGood()) {
            m_error = worksheet_write_number(m_sheet, row, column, number, m_text);
        }
    }

    void writeDate(lxw_row_t row, lxw_col_t column, const QDate& date)
    {
        if (date.isValid() && !isStorable(date)) {
            writeText(row, column, date.toString(QStringLiteral("yyyy-MM-dd")));
        } else if (date.isValid()) {
            write(row, column, QDateTime(date, QTime(0, 0), Qt::UTC), m_date);
        }
    }

    void writeDateTime(lxw_row_t row, lxw_col_t column, const QDateTime& time)
    {
        if (time.isValid() && !isStorable(time.date())) {
            writeText(row, column, time.toString(QStringLiteral("yyyy-MM-dd HH:mm:ss")));
        } else if (time.isValid()) {
            write(row, column, time, m_dateTime);
        }
    }

    void freezeHeadings()
    {
        if (isGood()) {
            worksheet_freeze_panes(m_sheet, 1, 0);
        }
    }

private:
    void write(lxw_row_t row, lxw_col_t column, const QString& text, lxw_format* format)
    {
        if (isGood() && !text.isEmpty()) {
            m_error = worksheet_write_string(m_sheet, row, column, cellText(text).constData(), format);
        }
    }

    void write(lxw_row_t row, lxw_col_t column, const QDateTime& time, lxw_format* format)
    {
        if (isGood()) {
            lxw_datetime value = {time.date().year(), time.date().month(),  time.date().day(),
                                  time.time().hour(), time.time().minute(), double(time.time().second())};
            m_error = worksheet_write_datetime(m_sheet, row, column, &value, format);
        }
    }

    lxw_worksheet* m_sheet;
    lxw_format* m_heading;
    lxw_format* m_text;
    lxw_format* m_date;
    lxw_format* m_dateTime;
    lxw_error m_error = LXW_NO_ERROR;
};

QString genderWord(const QString& gender, const QString& language)
{
    if (gender == QLatin1String("MALE")) {
        return LocalText{QStringLiteral("Male"), QStringLiteral("Мужской")}.in(language);
    }
    if (gender == QLatin1String("FEMALE")) {
        return LocalText{QStringLiteral("Female"), QStringLiteral("Женский")}.in(language);
    }
    return QString();
}

bool writePatient(lxw_workbook* book, const Workbook::PatientSheet& patient, const QString& language)
{
    Sheet sheet(book, LocalText{QStringLiteral("Patient"), QStringLiteral("Пациент")}.in(language));
    sheet.setWidth(0, labelWidth);
    sheet.setWidth(1, notesWidth);
    const LocalText headings[] = {
        {QStringLiteral("Name"), QStringLiteral("Имя")},
        {QStringLiteral("Date of birth"), QStringLiteral("Дата рождения")},
        {QStringLiteral("Age"), QStringLiteral("Возраст")},
        {QStringLiteral("Gender"), QStringLiteral("Пол")},
        {QStringLiteral("Phone"), QStringLiteral("Телефон")},
        {QStringLiteral("Notes"), QStringLiteral("Примечания")},
        {QStringLiteral("Last record"), QStringLiteral("Последняя запись")},
    };
    lxw_row_t row = 0;
    for (const LocalText& heading : headings) {
        sheet.writeHeading(row++, 0, heading.in(language));
    }
    sheet.writeText(0, 1, patient.name);
    sheet.writeDate(1, 1, patient.birthDate);
    sheet.writeNumber(2, 1, patient.age);
    sheet.writeText(3, 1, genderWord(patient.gender, language));
    sheet.writeText(4, 1, patient.phone);
    sheet.writeText(5, 1, patient.notes);
    sheet.writeDateTime(6, 1, patient.lastRecordAt);
    return sheet.isGood();
}

bool writeRecords(lxw_workbook* book, const QVector<Workbook::RecordRow>& records, const QString& language)
{
    Sheet sheet(book, LocalText{QStringLiteral("Records"), QStringLiteral("Записи")}.in(language));
    const QString yes = LocalText{QStringLiteral("Yes"), QStringLiteral("Да")}.in(language);
    const QString no = LocalText{QStringLiteral("No"), QStringLiteral("Нет")}.in(language);
    const LocalText headings[] = {
        {QStringLiteral("Recorded at"), QStringLiteral("Дата записи")},
        {QStringLiteral("Doctor"), QStringLiteral("Врач")},
        {QStringLiteral("Questionnaire"), QStringLiteral("Анкета")},
        {QStringLiteral("Sensor"), QStringLiteral("Датчик")},
    };
    const double widths[] = {dateTimeWidth, textWidth, labelWidth, textWidth};
    for (lxw_col_t column = 0; column < 4; ++column) {
        sheet.setWidth(column, widths[column]);
        sheet.writeHeading(0, column, headings[column].in(language));
    }
    sheet.freezeHeadings();
    lxw_row_t row = 1;
    for (const Workbook::RecordRow& record : records) {
        sheet.writeDateTime(row, 0, record.recordedAt);
        sheet.writeText(row, 1, record.doctorName);
        sheet.writeText(row, 2, record.questionnaire ? yes : no);
        sheet.writeText(row, 3, record.sensorId);
        ++row;
    }
    return sheet.isGood();
}

} // namespace

QByteArray Workbook::create(const PatientSheet& patient, const QVector<RecordRow>& records, const QString& language)
{
    const QTemporaryDir directory;
    if (!directory.isValid()) {
        return QByteArray();
    }
    const QString path = directory.filePath(QStringLiteral("patient.xlsx"));
    lxw_workbook* book = workbook_new(QFile::encodeName(path).constData());
    if (!book) {
        return QByteArray();
    }
    const bool written = writePatient(book, patient, language) && writeRecords(book, records, language);
    // Closing is what frees the workbook, so it happens in any case.
    const bool closed = workbook_close(book) == LXW_NO_ERROR;
    QFile file(path);
    if (!written || !closed || !file.open(QIODevice::ReadOnly)) {
        return QByteArray();
    }
    return file.readAll();
}

} // namespace server
