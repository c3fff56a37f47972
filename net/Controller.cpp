// SPDX-License-Identifier: GPL-3.0-or-later
#include "net/Controller.h"

#include "app/Constants.h"
#include "model/Marker.h"
#include "model/Patient.h"
#include "model/Record.h"
#include "net/Authentication.h"
#include "net/FileTransfer.h"
#include "net/Http.h"
#include "net/LoadingWindow.h"
#include "signal/Utils.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QUrlQuery>

#include <array>
#include <zlib.h>

namespace {

QByteArray toBytes(const QJsonObject& object)
{
    return QJsonDocument(object).toJson();
}

QJsonArray idsOf(const QList<Record>& records)
{
    QJsonArray ids;
    for (const Record& record : records) {
        ids.append(record.getId());
    }
    return ids;
}

/// Base64 in an alphabet that is safe in a query.
QString encodeNeedle(const QString& needle)
{
    if (needle.isEmpty()) {
        // Not null: a null value would leave the "=" out of the query.
        return QLatin1String("");
    }
    QString encoded = QString::fromLatin1(needle.toUtf8().toBase64());
    encoded.replace(QLatin1Char('+'), QLatin1Char('.'));
    encoded.replace(QLatin1Char('/'), QLatin1Char('_'));
    encoded.replace(QLatin1Char('='), QLatin1Char('-'));
    return encoded;
}

QString notNull(const QString& text)
{
    return text.isNull() ? QLatin1String("") : text;
}

} // namespace

Controller::Controller(QWidget* widget, QObject* parent)
    : QObject(parent)
    , apiUrl(QUELMAR_API_URL)
    , parentWidget(widget)
{
}

void Controller::login(QMap<QString, QString>& form)
{
    receive(Http::instance().post(QUrl(address(loginPath), QUrl::TolerantMode), form), Type::Login);
}

void Controller::changePassword(QMap<QString, QString>& map)
{
    post(address(passwordPath), Type::TokenUpdate, Utils::mapToJson(map));
}

void Controller::changeLocale(const QString& locale)
{
    const QStringList parts = locale.split(QLatin1Char('_'));
    QMap<QString, QString> map;
    map.insert(QStringLiteral("locale"), parts.value(0));
    map.insert(QStringLiteral("country"), parts.value(1));
    put(address(localePath), Type::Plain, Utils::mapToJson(map));
}

void Controller::updates()
{
    QUrlQuery query;
    query.addQueryItem(QStringLiteral("version"), QString::fromLatin1(Constants::VERSION));
    get(address(updatesPath) + QStringLiteral("/?") + query.toString(QUrl::PrettyDecoded), Type::Bytes);
}

void Controller::patientsList()
{
    get(address(patientPath), Type::Bytes);
}

void Controller::patientsFilter(const QString& sortBy, const QString& direction, int size, int current,
                                const QString& searchBy, const QString& needle)
{
    QUrlQuery query;
    query.addQueryItem(QStringLiteral("sortby"), notNull(sortBy));
    query.addQueryItem(QStringLiteral("direction"), notNull(direction));
    query.addQueryItem(QStringLiteral("size"), QString::number(size));
    query.addQueryItem(QStringLiteral("current"), QString::number(current));
    query.addQueryItem(QStringLiteral("searchby"), notNull(searchBy));
    query.addQueryItem(QStringLiteral("needle"), encodeNeedle(needle));
    get(address(patientPath) + QStringLiteral("/filter?") + query.toString(QUrl::PrettyDecoded), Type::Bytes);
}

void Controller::patientCreate(Patient* patient)
{
    post(address(patientPath), Type::Bytes, patient->toJson());
}

void Controller::patientUpdate(Patient* patient)
{
    put(address(patientPath), Type::Bytes, patient->toJson());
}

void Controller::patientDelete(Patient* patient)
{
    del(address(patientPath) + QLatin1Char('/') + patient->getId());
}

void Controller::questionnaire(Patient* patient, QList<Record>& records)
{
    post(address(patientPath) + QStringLiteral("/questionnaire"), Type::Bytes,
         toBytes({{QStringLiteral("patientId"), patient->getId()}, {QStringLiteral("records"), idsOf(records)}}));
}

void Controller::updateQuestionnaire(Patient* patient, QByteArray& data)
{
    put(address(patientPath) + QStringLiteral("/questionnaire/") + patient->getId(), Type::Plain, data);
}

void Controller::deviceConnect(Patient* patient, QString deviceId)
{
    post(address(devicePath), Type::Plain,
         toBytes({{QStringLiteral("patientId"), patient->getId()}, {QStringLiteral("deviceId"), notNull(deviceId)}}));
}

void Controller::deviceDisconnect(Patient* patient)
{
    del(address(devicePath) + QLatin1Char('/') + patient->getId());
}

void Controller::deviceToggle(Patient* patient)
{
    put(address(devicePath), Type::Plain, toBytes({{QStringLiteral("patientId"), patient->getId()}}));
}

void Controller::getRecords(Patient* patient)
{
    get(address(recordPath) + QLatin1Char('/') + patient->getId(), Type::Bytes);
}

void Controller::uploadRecord(Patient* patient, QByteArray& bytes, QString deviceId)
{
    showLoading();
    QString url = address(recordPath);
    auto* transfer = new FileTransfer(nullptr);
    connect(transfer, &FileTransfer::onSuccess, this, [this](const QByteArray& reply) {
        hideLoading();
        emit onBytes(reply);
        deleteLater();
    });
    connect(transfer, &FileTransfer::onError, this, &Controller::error);
    transfer->send(url, patient, bytes, deviceId);
}

void Controller::deleteRecord(Record* record)
{
    del(address(recordPath) + QLatin1Char('/') + record->getPatientId() + QLatin1Char('/') + record->getId());
}

void Controller::command(Patient* patient, Record* record, QString command)
{
    QJsonObject object{{QStringLiteral("patientId"), patient->getId()}, {QStringLiteral("command"), notNull(command)}};
    if (record != nullptr) {
        object.insert(QStringLiteral("recordId"), record->getId());
    }
    post(address(commandPath), Type::Plain, toBytes(object));
}

void Controller::deleteCommand(Patient* patient)
{
    del(address(commandPath) + QLatin1Char('/') + patient->getId());
}

void Controller::analysisSummary(const QByteArray& data)
{
    post(address(summaryPath), Type::Bytes, data);
}

void Controller::analysisMarkers(const QByteArray& data)
{
    post(address(analysisPath), Type::Bytes, data);
}

void Controller::analysisComparative(const QByteArray& data)
{
    post(address(comparativePath), Type::Bytes, data);
}

void Controller::diagnosticCategories(Patient* patient)
{
    get(address(categoryPath) + QStringLiteral("/diagnostic/") + patient->getId(), Type::Bytes);
}

void Controller::correctiveCategories(Patient* patient)
{
    get(address(categoryPath) + QStringLiteral("/corrective/") + patient->getId(), Type::Bytes);
}

void Controller::getRecipe(Patient* patient, Record* record)
{
    get(address(recipePath) + QLatin1Char('/') + patient->getId() + QLatin1Char('/') + record->getId(), Type::Bytes);
}

void Controller::recipe(Patient* patient, Record* record, QList<Marker>& markers, int duration, QString deviceId)
{
    post(address(recipePath), Type::Zipped,
         toBytes(prepareRecipeData(patient, record, markers, duration, deviceId, QLatin1String(""))));
}

void Controller::saveRecipe(Patient* patient, Record* record, QList<Marker>& markers, int duration, QString command)
{
    put(address(recipePath), Type::Plain,
        toBytes(prepareRecipeData(patient, record, markers, duration, QLatin1String(""), command)));
}

void Controller::recipeAutospectrum(Patient* patient, Record* record, QString deviceId)
{
    post(address(autospectrumPath), Type::Zipped, toBytes(prepareAutospectrumData(patient, record, deviceId)));
}

void Controller::excelExport(Patient* patient)
{
    post(address(exportPath) + QStringLiteral("/excel"), Type::Bytes,
         toBytes({{QStringLiteral("patientId"), patient->getId()}}));
}

QJsonObject Controller::prepareRecipeData(Patient* patient, Record* record, QList<Marker>& markers, int duration,
                                          const QString& deviceId, const QString& command)
{
    QJsonArray ids;
    for (const Marker& marker : qAsConst(markers)) {
        ids.append(marker.getId());
    }
    return {
        {QStringLiteral("patientId"), patient->getId()}, {QStringLiteral("recordId"), record->getId()},
        {QStringLiteral("deviceId"), notNull(deviceId)}, {QStringLiteral("markers"), ids},
        {QStringLiteral("duration"), duration},          {QStringLiteral("command"), notNull(command)},
    };
}

QJsonObject Controller::prepareAutospectrumData(Patient* patient, Record* record, const QString& deviceId)
{
    return {
        {QStringLiteral("patientId"), patient->getId()},
        {QStringLiteral("recordId"), record->getId()},
        {QStringLiteral("deviceId"), notNull(deviceId)},
    };
}

QString Controller::address(const char* path) const
{
    return QString::fromLatin1(apiUrl) + QString::fromLatin1(path);
}

void Controller::showLoading()
{
    if (parentWidget != nullptr) {
        loadingWindow = new LoadingWindow(parentWidget);
    }
}

void Controller::hideLoading()
{
    delete loadingWindow.data();
}

void Controller::receive(HttpReply* reply, Controller::Type type)
{
    connect(reply, &HttpReply::data, this, [this, type](const QByteArray& bytes) { success(type, bytes); });
    connect(reply, SIGNAL(error(QByteArray)), this, SLOT(error(QByteArray)));
}

namespace {

/// A copy of the process-wide client that speaks for the session.
Http authorisedHttp()
{
    Http http = Http::instance();
    http.addRequestHeader(QByteArrayLiteral("Authorization"), Authentication::getInstance()->getAuthHeader());
    http.addRequestHeader(QByteArrayLiteral("Accept-Language"), Authentication::getInstance()->getAcceptLanguage());
    return http;
}

QByteArray jsonContentType()
{
    return QByteArrayLiteral("application/json");
}

} // namespace

void Controller::post(QString url, Controller::Type type, const QByteArray& data)
{
    showLoading();
    receive(authorisedHttp().post(QUrl(url, QUrl::TolerantMode), data, jsonContentType()), type);
}

void Controller::put(QString url, Controller::Type type, const QByteArray& data)
{
    showLoading();
    receive(authorisedHttp().put(QUrl(url, QUrl::TolerantMode), data, jsonContentType()), type);
}

void Controller::get(QString url, Controller::Type type)
{
    showLoading();
    receive(authorisedHttp().get(QUrl(url, QUrl::TolerantMode)), type);
}

void Controller::del(QString url)
{
    showLoading();
    receive(authorisedHttp().remove(QUrl(url, QUrl::TolerantMode)), Type::Plain);
}

QByteArray Controller::unzip(const QByteArray& data, int limit)
{
    if (data.size() < 5) {
        qWarning("unzip: Input data is truncated");
        return {};
    }

    z_stream stream{};
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(data.constData()));
    stream.avail_in = static_cast<uInt>(data.size());
    constexpr int gzipWindowBits = 15 + 16;
    if (inflateInit2(&stream, gzipWindowBits) != Z_OK) {
        return {}; // GCOVR_EXCL_LINE: only without memory
    }

    QByteArray result;
    std::array<char, 1024> buffer;
    do {
        stream.next_out = reinterpret_cast<Bytef*>(buffer.data());
        stream.avail_out = static_cast<uInt>(buffer.size());
        const int status = inflate(&stream, Z_NO_FLUSH);
        const int size = static_cast<int>(buffer.size() - stream.avail_out);
        // A few kilobytes can hold gigabytes, and more than a QByteArray takes ends the program.
        if (status == Z_MEM_ERROR || status == Z_DATA_ERROR || status == Z_NEED_DICT || size > limit - result.size()) {
            inflateEnd(&stream);
            return {};
        }
        result.append(buffer.data(), size);
    } while (stream.avail_out == 0);
    inflateEnd(&stream);
    return result;
}

void Controller::success(Controller::Type type, const QByteArray& bytes)
{
    hideLoading();
    switch (type) {
    case Type::Bytes:
        emit onBytes(bytes);
        break;
    case Type::Login:
        Authentication::getInstance()->init(Utils::bytesToJson(bytes));
        emit onSuccess();
        break;
    case Type::TokenUpdate:
        Authentication::getInstance()->update(Utils::bytesToJson(bytes));
        emit onSuccess();
        break;
    case Type::Zipped:
        emit onBytes(unzip(QByteArray::fromBase64(bytes)));
        break;
    case Type::Plain:
        emit onSuccess();
        break;
    }
    deleteLater();
}

void Controller::error(const QByteArray& bytes)
{
    hideLoading();
    const QJsonObject object = Utils::bytesToJson(bytes);
    QString message;
    const QJsonValue text = object.value(QLatin1String("message"));
    const QJsonValue errors = object.value(QLatin1String("errors"));
    if (!text.isUndefined() && !text.isNull()) {
        message = text.toString();
    } else if (!errors.isUndefined() && !errors.isNull()) {
        const QJsonArray elements = errors.toArray();
        for (const QJsonValue& element : elements) {
            const QVariantMap map = element.toObject().toVariantMap();
            if (!map.isEmpty()) {
                message += map.firstKey() + QLatin1Char(' ') + map.first().toString() + QStringLiteral("\r\n");
            }
        }
    }
    emit onError(message);
    deleteLater();
}

#include "moc_Controller.cpp"
