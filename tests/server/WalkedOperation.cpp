// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/server/WalkedOperation.h"

#include "tests/server/TestWave.h"

const QByteArray WalkedOperation::boundary = QByteArrayLiteral("walked-parts");

QVector<WalkedOperation> WalkedOperation::all()
{
    const Field patientId{"patientId", R"("{P}")", Kind::Id};
    const Field recordId{"recordId", R"("{R}")", Kind::Id};
    const Field records{"records", R"(["{R}"])", Kind::Ids};
    const Field storageId{"storageId", R"("notes")"};
    const QVector<Field> patient{{"name", R"("zq7fresh")"},
                                 {"birthDate", R"("1980-05-17")"},
                                 {"gender", R"("FEMALE")"},
                                 {"phone", R"("1")", Kind::Text, false},
                                 {"notes", R"("n")", Kind::Text, false}};
    const QVector<Field> recipe{patientId,
                                recordId,
                                {"markers", R"(["note-a4"])", Kind::Texts},
                                {"duration", "5", Kind::Number, false},
                                {"deviceId", R"("")", Kind::Text, false},
                                {"command", R"("")", Kind::Text, false}};
    return {
        {"POST", "/auth/login", Body::Form, {{"username", "{L}"}, {"password", "{W}"}}, {}, true},
        {"POST",
         "/auth/password",
         Body::Json,
         {{"oldPassword", R"("{W}")"}, {"newPassword", R"("{W}")"}, {"repeatPassword", R"("{W}")"}}},
        {"PUT", "/auth/locale", Body::Json, {{"locale", R"("de")"}, {"country", R"("DE")"}}},
        {"GET", "/auth/updates", Body::None, {}, "/?version=2021.3.0"},
        {"GET", "/patient", Body::None, {}},
        {"GET",
         "/patient/filter",
         Body::None,
         {},
         "?sortby=name&direction=asc&size=20&current=0&searchby=name&needle="},
        {"POST", "/patient", Body::Json, patient},
        {"PUT", "/patient", Body::Json, QVector<Field>{{"id", R"("{P}")", Kind::Id}} + patient},
        {"DELETE", "/patient/{P}", Body::None, {}},
        {"POST", "/patient/questionnaire", Body::Json, {patientId, records}},
        {"PUT", "/patient/questionnaire/{P}", Body::Json, {{"{R}", R"({"zq7 ache":3})"}}},
        {"POST", "/patient/device", Body::Json, {patientId, {"deviceId", R"("{D}")"}}},
        {"PUT", "/patient/device", Body::Json, {patientId}},
        {"DELETE", "/patient/device/{P}", Body::None, {}},
        {"POST",
         "/command",
         Body::Json,
         {patientId, {"command", R"("RECORD")"}, {"recordId", R"("{R}")", Kind::Id, false}}},
        {"DELETE", "/command/{P}", Body::None, {}},
        {"GET", "/record/{P}", Body::None, {}},
        {"POST", "/record", Body::Parts, {{"patientId", "{P}", Kind::Id}, {"record", ""}}},
        {"DELETE", "/record/{P}/{R}", Body::None, {}},
        {"GET", "/category/diagnostic/{P}", Body::None, {}},
        {"GET", "/category/corrective/{P}", Body::None, {}},
        {"POST", "/analysis", Body::Json, {patientId, storageId, records}},
        {"POST", "/analysis/summary", Body::Json, {patientId, records}},
        {"POST", "/analysis/comparative", Body::Json, {patientId, records}},
        {"GET", "/recipe/{P}/{R}", Body::None, {}},
        {"PUT", "/recipe", Body::Json, recipe},
        {"POST", "/recipe", Body::Json, recipe},
        {"POST", "/recipe/autospectrum", Body::Json, {patientId, recordId, {"deviceId", R"("")", Kind::Text, false}}},
        {"POST", "/export/excel", Body::Json, {patientId}},
        {"GET", "/health", Body::None, {}, {}, true},
        {"GET", "/metrics", Body::None, {}, {}, true},
    };
}

QByteArray WalkedOperation::name() const
{
    QByteArray pattern = path;
    return method + ' ' + pattern.replace("{P}", "*").replace("{R}", "*");
}

QByteArray WalkedOperation::contentType() const
{
    switch (body) {
    case Body::None:
        break;
    case Body::Json:
        return "application/json";
    case Body::Form:
        return "application/x-www-form-urlencoded";
    case Body::Parts:
        return "multipart/form-data; boundary=" + boundary;
    }
    return QByteArray();
}

QByteArray WalkedOperation::content(const QVector<QPair<QByteArray, QByteArray>>& changes) const
{
    QVector<QPair<QByteArray, QByteArray>> values;
    for (const Field& field : fields) {
        QByteArray value = field.good;
        if (body == Body::Parts && value.isEmpty())
            value = wave();
        for (const auto& change : changes) {
            if (change.first == field.key)
                value = change.second;
        }
        values.append({field.key, value});
    }
    return joined(values);
}

QByteArray WalkedOperation::contentWithout(const QByteArray& key) const
{
    WalkedOperation less = *this;
    for (int i = less.fields.size() - 1; i >= 0; --i) {
        if (less.fields.at(i).key == key)
            less.fields.remove(i);
    }
    return less.content();
}

QByteArray WalkedOperation::parts(const QVector<QPair<QByteArray, QByteArray>>& contents)
{
    QByteArray text;
    for (const auto& part : contents)
        text += "--" + boundary + "\r\nContent-Disposition: form-data; name=\"" + part.first + "\"\r\n\r\n" +
                part.second + "\r\n";
    return text + "--" + boundary + "--\r\n";
}

const QByteArray& WalkedOperation::wave()
{
    static const QByteArray made = testWave(440);
    return made;
}

QByteArray WalkedOperation::joined(const QVector<QPair<QByteArray, QByteArray>>& values) const
{
    if (body == Body::Parts)
        return parts(values);
    QByteArray text;
    for (const auto& value : values) {
        if (body == Body::Json)
            text += (text.isEmpty() ? "\"" : ",\"") + value.first + "\":" + value.second;
        else
            text += value.first + '=' + value.second + '&';
    }
    return body == Body::Json ? '{' + text + '}' : text;
}
