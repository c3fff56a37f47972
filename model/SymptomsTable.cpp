// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/SymptomsTable.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonValue>

#include <algorithm>
#include <limits>

namespace {

constexpr int complaintsRow = 0;
constexpr int severityRow = 1;
constexpr int headRows = 2;

float toIntensity(const QJsonValue& value)
{
    constexpr double limit = std::numeric_limits<float>::max();
    // To convert what no float can hold is undefined.
    return static_cast<float>(qBound(-limit, value.toDouble(0.0), limit));
}

} // namespace

SymptomsTable::SymptomsTable(QObject* parent)
    : QObject(parent)
{
}

bool SymptomsTable::isDated(int column) const
{
    return column >= 1 && column <= columns.size();
}

int SymptomsTable::columnCount() const
{
    return columns.isEmpty() ? 0 : columns.size() + 1;
}

int SymptomsTable::rowCount() const
{
    return symptoms.isEmpty() ? 0 : symptoms.size() + headRows;
}

QString SymptomsTable::horizontalHeaderValue(int column) const
{
    if (column == 0) {
        return tr("Text.symptom");
    }
    if (!isDated(column)) {
        return QLatin1String("");
    }
    return columns.at(column - 1).recordDate().toString(QStringLiteral("yyyy-MM-dd HH:mm:ss"));
}

QVariant SymptomsTable::cellValue(int column, int row) const
{
    if (column < 0 || column >= columnCount() || row < 0 || row >= rowCount()) {
        return {};
    }
    switch (row) {
    case complaintsRow:
        return column == 0 ? QVariant(tr("Text.complaintsNumber")) : QVariant(calcComplaintsNumber(column));
    case severityRow:
        return column == 0 ? QVariant(tr("Text.severity")) : QVariant(calcSeverity(column));
    default:
        break;
    }
    const Symptom& symptom = symptoms.at(row - headRows);
    return column == 0 ? QVariant(symptom.translation()) : symptom.value(columns.at(column - 1).id());
}

float SymptomsTable::calcComplaintsNumber(int column) const
{
    if (!isDated(column)) {
        return 0;
    }
    const QString key = columns.at(column - 1).id();
    return static_cast<float>(std::count_if(symptoms.cbegin(), symptoms.cend(), [&key](const Symptom& symptom) {
        return symptom.value(key).toFloat() > 0;
    }));
}

float SymptomsTable::calcSeverity(int column) const
{
    float sum = 0;
    if (isDated(column)) {
        const QString key = columns.at(column - 1).id();
        for (const Symptom& symptom : symptoms) {
            sum += symptom.value(key).toFloat();
        }
    }
    return sum;
}

bool SymptomsTable::cellIsEdit(int column, int row) const
{
    return column != 0 && row >= headRows && column < columnCount();
}

bool SymptomsTable::setCellValue(int column, int row, float value)
{
    if (!cellIsEdit(column, row) || !isDated(column) || row >= rowCount()) {
        return false;
    }
    symptoms[row - headRows].setValue(columns.at(column - 1).id(), value);
    return true;
}

bool SymptomsTable::rowIsDeletable(int row) const
{
    return row >= headRows && row < rowCount() && symptoms.at(row - headRows).isCustom();
}

void SymptomsTable::appendSymptom(const Symptom& symptom)
{
    Symptom added = symptom;
    for (const SymptomsTableColumn& column : qAsConst(columns)) {
        added.setValue(column.id(), 0);
    }
    symptoms.append(added);
}

void SymptomsTable::removeSymptom(int row)
{
    if (rowIsDeletable(row)) {
        symptoms.removeAt(row - headRows);
    }
}

void SymptomsTable::fromJSON(const QJsonObject& json)
{
    symptoms.clear();
    columns.clear();
    const QJsonObject dates = json.value(QLatin1String("dates")).toObject();
    const QJsonArray rows = json.value(QLatin1String("rows")).toArray();

    columns.reserve(dates.size());
    for (auto date = dates.constBegin(); date != dates.constEnd(); ++date) {
        columns.append(SymptomsTableColumn(date.key(), QDateTime::fromString(date.value().toString(), Qt::ISODate)));
    }
    std::sort(columns.begin(), columns.end(), [](const SymptomsTableColumn& left, const SymptomsTableColumn& right) {
        return left.recordDate() < right.recordDate();
    });

    symptoms.reserve(rows.size());
    for (const QJsonValue& value : rows) {
        const QJsonObject row = value.toObject();
        Symptom symptom(row.value(QLatin1String("id")).toInt(-1), row.value(QLatin1String("symptom")).toString(),
                        row.value(QLatin1String("custom")).toBool(false));
        const QJsonObject intensities = row.value(QLatin1String("intensities")).toObject();
        for (auto intensity = intensities.constBegin(); intensity != intensities.constEnd(); ++intensity) {
            symptom.setValue(intensity.key(), toIntensity(intensity.value()));
        }
        symptoms.append(symptom);
    }
}

QByteArray SymptomsTable::toJson() const
{
    QJsonObject grid;
    for (const SymptomsTableColumn& column : columns) {
        QJsonObject intensities;
        for (const Symptom& symptom : symptoms) {
            const QString key = symptom.isCustom() ? symptom.translation() : QString::number(symptom.id());
            intensities.insert(key, symptom.value(column.id()).toDouble());
        }
        grid.insert(column.id(), intensities);
    }
    return QJsonDocument(grid).toJson();
}

#include "moc_SymptomsTable.cpp"
