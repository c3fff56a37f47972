// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Failure.h"
#include "server/JsonInput.h"
#include "server/PatientInput.h"
#include "server/TextKeys.h"
#include "tests/fuzz/require.h"

#include <QDate>
#include <QSet>

#include <algorithm>

using namespace server;

namespace {

void requireText(const QString& text, int limit, bool lines)
{
    require(text.size() <= limit, "a text has its limit");
    require(QStringView(text).isValidUtf16(), "a text consists of whole characters");
    require(text == TextKeys::normalized(text), "a text is stored in one form");
    require(std::none_of(text.begin(), text.end(),
                         [lines](QChar c) {
                             return c.category() == QChar::Other_Control &&
                                    !(lines && QStringLiteral("\n\r\t").contains(c));
                         }),
            "a text has no control characters");
    // Texts of every kind are searched and sorted.
    TextKeys::folded(text);
    require(!TextKeys::sortKey(text).isEmpty() || text.isEmpty(), "a text has its place in the order");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size)
{
    const QDate today(2021, 6, 1);
    try {
        const JsonInput input(QByteArray(reinterpret_cast<const char*>(data), int(size)));
        const Patient patient = PatientInput::read(input.object(), today);
        requireText(patient.name, PatientInput::maxName, false);
        requireText(patient.phone, PatientInput::maxPhone, false);
        requireText(patient.notes, PatientInput::maxNotes, true);
        require(!patient.name.isEmpty(), "a patient has a name");
        require(patient.gender == QLatin1String("MALE") || patient.gender == QLatin1String("FEMALE"), "one of two");
        require(patient.birthDate.year() >= 1800 && patient.birthDate <= today, "born not too long ago");
        require(patient.id.isEmpty() && !patient.hasDevice, "nothing is taken that the server owns");
        const Patient again =
            PatientInput::read({{QStringLiteral("name"), patient.name},
                                {QStringLiteral("birthDate"), patient.birthDate.toString(Qt::ISODate)},
                                {QStringLiteral("gender"), patient.gender},
                                {QStringLiteral("phone"), patient.phone},
                                {QStringLiteral("notes"), patient.notes}},
                               today);
        require(again.name == patient.name && again.birthDate == patient.birthDate && again.phone == patient.phone &&
                    again.notes == patient.notes,
                "what was taken is taken again");
    } catch (const Failure& failure) {
        require(failure.status() == 400, "a wrong patient is a bad request");
        QSet<QString> fields;
        for (const Failure::FieldError& error : failure.errors()) {
            require(!fields.contains(error.field), "a field has one error");
            fields.insert(error.field);
        }
    }
    return 0;
}
