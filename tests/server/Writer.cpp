// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/server/Writer.h"

#include "server/Catalogue.h"
#include "server/Symptoms.h"
#include "tests/server/TestWave.h"

#include <algorithm>

namespace {

constexpr int samples = 66150;

QString key(const char* kind, const QString& id)
{
    return QLatin1String(kind) + QLatin1Char(' ') + id;
}

QString idOf(const QString& key)
{
    return key.section(QLatin1Char(' '), 1);
}

QString textOf(const QJsonObject& object, const char* name)
{
    return object.value(QLatin1String(name)).toString();
}

const QStringList& markerIds()
{
    static const QStringList all = [] {
        QStringList ids;
        for (const auto& storage : server::Catalogue::instance().storages()) {
            for (const auto& marker : storage.markers)
                ids.append(marker.id);
        }
        return ids;
    }();
    return all;
}

} // namespace

Writer::Writer(const QString& name, quint32 seed)
    : m_name(name)
    , m_random(seed)
{
    markerIds();
}

Writer::~Writer()
{
    stop();
}

bool Writer::login(const QString& url)
{
    ApiClient client(url);
    const bool done = client.login(m_name, QStringLiteral("secret")).status == 200;
    m_token = client.token;
    return done;
}

void Writer::start(const QString& url)
{
    stop();
    m_stopped = false;
    m_acknowledged = 0;
    m_touched.clear();
    m_lastStatus = 200;
    m_working = true;
    m_thread = std::thread([this, url] { work(url); });
}

void Writer::stop()
{
    m_stopped = true;
    if (m_thread.joinable())
        m_thread.join();
}

void Writer::setState(const WrittenState& state)
{
    m_state = state;
    m_changes.clear();
    m_inDoubt.reset();
}

QStringList Writer::settle(const WrittenState& found)
{
    QStringList different = differences(m_state, found);
    if (!different.isEmpty() && m_inDoubt) {
        const QStringList after = differences(changed(m_state, *m_inDoubt, found), found);
        if (after.size() < different.size())
            different = after;
    }
    if (different.isEmpty())
        setState(found);
    return different;
}

WrittenState Writer::changed(const WrittenState& state, const Change& change, const WrittenState& found)
{
    WrittenState after = state;
    for (auto entry = change.begin(); entry != change.end(); ++entry) {
        if (entry.value().isNull()) {
            after.remove(entry.key());
        } else if (idOf(entry.key()) == QLatin1String("?")) {
            const QString kind = entry.key().section(QLatin1Char(' '), 0, 0) + QLatin1Char(' ');
            for (auto other = found.begin(); other != found.end(); ++other) {
                if (other.key().startsWith(kind) && other.value() == entry.value() && !state.contains(other.key())) {
                    after.insert(other.key(), other.value());
                    break;
                }
            }
        } else {
            after.insert(entry.key(), entry.value());
        }
    }
    return after;
}

void Writer::work(const QString& url)
{
    {
        ApiClient client(url);
        client.token = m_token;
        while (!m_stopped && m_lastStatus == 200)
            step(client);
    }
    m_working = false;
}

void Writer::step(ApiClient& client)
{
    const bool patients = !idsOf(QStringLiteral("patient")).isEmpty();
    const bool records = !idsOf(QStringLiteral("record")).isEmpty();
    const int choice = number(100);
    if (!patients || choice < 15)
        createPatient(client);
    else if (choice < 25)
        changePatient(client);
    else if (!records || choice < 60)
        upload(client);
    else if (choice < 77)
        saveRecipe(client);
    else if (choice < 95)
        saveQuestionnaires(client);
    else
        removeRecord(client);
}

int Writer::number(int below)
{
    return int(m_random() % unsigned(below));
}

QString Writer::text(int length)
{
    static const QString letters = QStringLiteral("abcdefghijklmnopqrstuvwxyzäöüßабвгдеёж0123456789'\"%_\\");
    QString made;
    for (int i = 0; i < length; ++i)
        made += letters.at(number(letters.size()));
    return made;
}

QStringList Writer::idsOf(const QString& kind) const
{
    QStringList ids;
    for (auto entry = m_state.lowerBound(kind + QLatin1Char(' '));
         entry != m_state.end() && entry.key().startsWith(kind + QLatin1Char(' ')); ++entry)
        ids.append(idOf(entry.key()));
    return ids;
}

QString Writer::patientOf(const QString& record) const
{
    return m_state.value(key("record", record)).section(QLatin1Char('|'), 0, 0);
}

void Writer::createPatient(ApiClient& client)
{
    const QString name = QStringLiteral("P") + text(20);
    const QString notes = QStringLiteral("N") + text(200 + number(2000));
    const QString made = patientText(name, QStringLiteral("1980-05-17"), QStringLiteral("FEMALE"), QString(), notes);
    begin({{QStringLiteral("patient ?"), made}});
    done(QStringLiteral("patient"),
         client.post(QStringLiteral("/patient"), {{QStringLiteral("name"), name},
                                                  {QStringLiteral("birthDate"), QStringLiteral("1980-05-17")},
                                                  {QStringLiteral("gender"), QStringLiteral("FEMALE")},
                                                  {QStringLiteral("notes"), notes}}));
}

void Writer::changePatient(ApiClient& client)
{
    const QStringList patients = idsOf(QStringLiteral("patient"));
    const QString& id = patients.at(number(patients.size()));
    const QString name = QStringLiteral("C") + text(20);
    const QString phone = QString::number(number(1000000));
    const QString notes = QStringLiteral("M") + text(200 + number(2000));
    begin(
        {{key("patient", id), patientText(name, QStringLiteral("1970-01-02"), QStringLiteral("MALE"), phone, notes)}});
    done(QStringLiteral("change of a patient"),
         client.put(QStringLiteral("/patient"), {{QStringLiteral("id"), id},
                                                 {QStringLiteral("name"), name},
                                                 {QStringLiteral("birthDate"), QStringLiteral("1970-01-02")},
                                                 {QStringLiteral("gender"), QStringLiteral("MALE")},
                                                 {QStringLiteral("phone"), phone},
                                                 {QStringLiteral("notes"), notes}}));
}

void Writer::upload(ApiClient& client)
{
    const QStringList patients = idsOf(QStringLiteral("patient"));
    const QString& patient = patients.at(number(patients.size()));
    const QString sensor = QStringLiteral("S%1").arg(number(1000000));
    QByteArray wave = testWaveHeader(samples);
    for (int i = 0; i < samples; ++i)
        wave.append(char(m_random() & 0xff));
    begin({{QStringLiteral("record ?"), recordText(patient, sensor, wave)}});
    done(QStringLiteral("upload"), client.upload(patient, wave, sensor.toLatin1()));
}

void Writer::saveRecipe(ApiClient& client)
{
    const QStringList records = idsOf(QStringLiteral("record"));
    const QString& id = records.at(number(records.size()));
    const int duration = number(1440);
    QStringList markers;
    const int count = 1 + number(30);
    for (int i = 0; i < count; ++i)
        markers.append(markerIds().at(number(markerIds().size())));
    begin({{key("recipe", id), recipeText(duration, markers)}});
    done(QStringLiteral("recipe"),
         client.put(QStringLiteral("/recipe"), {{QStringLiteral("patientId"), patientOf(id)},
                                                {QStringLiteral("recordId"), id},
                                                {QStringLiteral("duration"), duration},
                                                {QStringLiteral("markers"), QJsonArray::fromStringList(markers)}}));
}

void Writer::saveQuestionnaires(ApiClient& client)
{
    const QStringList records = idsOf(QStringLiteral("record"));
    const QString patient = patientOf(records.at(number(records.size())));
    const auto symptoms = server::Symptoms::all();
    Change change;
    QJsonObject body;
    // Up to three records of the one patient: all of them or none.
    for (const QString& id : records) {
        if (patientOf(id) != patient || body.size() == 3)
            continue;
        QMap<QString, double> shipped;
        QMap<QString, double> custom;
        const int count = 1 + number(20);
        for (int i = 0; i < count; ++i)
            shipped.insert(QString::number(symptoms.at(number(int(symptoms.size()))).id), 1 + number(900) / 8.0);
        for (int i = number(4); i > 0; --i)
            custom.insert(QStringLiteral("own %1").arg(number(50)), (1 + number(1000)) / 16.0);
        QJsonObject answers;
        for (const auto* part : {&shipped, &custom}) {
            for (auto answer = part->begin(); answer != part->end(); ++answer)
                answers.insert(answer.key(), answer.value());
        }
        body.insert(id, answers);
        change.insert(key("questionnaire", id), questionnaireText(shipped, custom));
    }
    begin(change);
    done(QStringLiteral("questionnaire"), client.put(QStringLiteral("/patient/questionnaire/") + patient, body));
}

void Writer::removeRecord(ApiClient& client)
{
    const QStringList records = idsOf(QStringLiteral("record"));
    const QString& id = records.at(number(records.size()));
    begin({{key("record", id), QString()}, {key("recipe", id), QString()}, {key("questionnaire", id), QString()}});
    done(QStringLiteral("removal"), client.remove(QStringLiteral("/record/%1/%2").arg(patientOf(id), id)));
}

void Writer::begin(const Change& change)
{
    m_inDoubt = change;
}

void Writer::done(const QString& what, const ApiClient::Answer& answer)
{
    // An answer that breaks off says nothing.
    m_lastStatus = answer.status != 200 || answer.isObject() ? answer.status : 0;
    if (m_lastStatus != 200)
        return;
    Change change;
    for (auto entry = m_inDoubt->begin(); entry != m_inDoubt->end(); ++entry) {
        QString name = entry.key();
        if (idOf(name) == QLatin1String("?"))
            name.replace(QLatin1Char('?'), textOf(answer.object(), "id"));
        change.insert(name, entry.value());
        m_touched.insert(name);
    }
    m_state = changed(m_state, change, {});
    m_changes.append(change);
    m_inDoubt.reset();
    ++m_counts[what];
    ++m_acknowledged;
}

QStringList Writer::askedOf(const QString& url)
{
    ApiClient client(url);
    client.token = m_token;
    QStringList wrong;
    WrittenState found;
    const ApiClient::Answer listed = client.get(QStringLiteral("/patient"));
    if (listed.status != 200)
        return {QStringLiteral("the list of patients of %1 is answered with %2").arg(m_name).arg(listed.status)};
    for (const auto& value : listed.object().value(QStringLiteral("data")).toArray()) {
        const QJsonObject patient = value.toObject();
        found.insert(key("patient", textOf(patient, "id")),
                     patientText(textOf(patient, "name"), textOf(patient, "birthDate").left(10),
                                 textOf(patient, "gender"), textOf(patient, "phone"), textOf(patient, "notes")));
    }
    WrittenState patients;
    for (const QString& id : idsOf(QStringLiteral("patient")))
        patients.insert(key("patient", id), m_state.value(key("patient", id)));
    wrong += differences(patients, found);

    QMap<QString, QSet<QString>> records; ///< of each patient
    for (const QString& touched : qAsConst(m_touched)) {
        const QString id = idOf(touched);
        if (!touched.startsWith(QLatin1String("patient ")) && m_state.contains(key("record", id)))
            records[patientOf(id)].insert(id);
    }
    for (auto entry = records.begin(); entry != records.end(); ++entry) {
        QSet<QString> there;
        for (const auto& value : client.get(QStringLiteral("/record/") + entry.key()).array())
            there.insert(textOf(value.toObject(), "id"));
        QSet<QString> expected;
        for (const QString& id : idsOf(QStringLiteral("record"))) {
            if (patientOf(id) == entry.key())
                expected.insert(id);
        }
        if (there != expected)
            wrong.append(QStringLiteral("the server lists %1 records of the patient %2, and not %3")
                             .arg(there.size())
                             .arg(entry.key())
                             .arg(expected.size()));
        const QJsonArray rows = client
                                    .post(QStringLiteral("/patient/questionnaire"),
                                          {{QStringLiteral("patientId"), entry.key()},
                                           {QStringLiteral("records"), QJsonArray::fromStringList(entry->values())}})
                                    .object()
                                    .value(QStringLiteral("rows"))
                                    .toArray();
        for (const QString& id : qAsConst(entry.value())) {
            QStringList markers;
            for (const auto& value : client.get(QStringLiteral("/recipe/%1/%2").arg(entry.key(), id)).array())
                markers.append(textOf(value.toObject(), "id"));
            const QString recipe = m_state.value(key("recipe", id)).section(QLatin1Char('|'), 1);
            if (markers.join(QLatin1Char(',')) != recipe)
                wrong.append(QStringLiteral("the server gives the recipe of %1 as %2, and not as %3")
                                 .arg(id, markers.join(QLatin1Char(',')), recipe));
            QMap<QString, double> shipped;
            QMap<QString, double> custom;
            for (const QJsonValue& value : rows) {
                const QJsonObject row = value.toObject();
                const double strength = row.value(QStringLiteral("intensities")).toObject().value(id).toDouble();
                if (strength == 0)
                    continue;
                if (row.value(QStringLiteral("custom")).toBool())
                    custom.insert(textOf(row, "symptom"), strength);
                else
                    shipped.insert(QString::number(row.value(QStringLiteral("id")).toInt()), strength);
            }
            const bool any = !shipped.isEmpty() || !custom.isEmpty();
            const QString answers = any ? questionnaireText(shipped, custom) : QString();
            if (answers != m_state.value(key("questionnaire", id)))
                wrong.append(QStringLiteral("the server gives the questionnaire of %1 as \"%2\", and not as \"%3\"")
                                 .arg(id, answers, m_state.value(key("questionnaire", id))));
        }
    }
    return wrong;
}
