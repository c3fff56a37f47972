// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/JsonInput.h"

#include "server/Failure.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <nlohmann/json.hpp>

#include <string>
#include <unordered_set>
#include <vector>

namespace server {

namespace {

Failure wrong(const char* key)
{
    return Failure(400, Messages::WrongField, QString::fromLatin1(key));
}

/// Follows a JSON text without keeping it, as far as it is one in which no object has a key twice.
class StrictReader : public nlohmann::json_sax<nlohmann::json>
{
public:
    bool null() override { return true; }
    bool boolean(bool) override { return true; }
    bool number_integer(number_integer_t) override { return true; }
    bool number_unsigned(number_unsigned_t) override { return true; }
    bool number_float(number_float_t, const string_t&) override { return true; }
    bool string(string_t&) override { return true; }
    bool binary(binary_t&) override { return true; }
    bool start_object(std::size_t) override
    {
        m_keys.emplace_back();
        return m_keys.size() <= maxDepth;
    }
    bool key(string_t& text) override { return m_keys.back().insert(text).second; }
    bool end_object() override
    {
        m_keys.pop_back();
        return true;
    }
    bool start_array(std::size_t) override { return true; }
    bool end_array() override { return true; }
    bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception&) override { return false; }

private:
    static constexpr std::size_t maxDepth = 1024; // QJsonDocument's own

    std::vector<std::unordered_set<std::string>> m_keys; ///< of the objects that are open
};

} // namespace

JsonInput::JsonInput(const QByteArray& body)
{
    // QJsonDocument loses the memory of an array or object whose key comes again.
    StrictReader reader;
    // Half a character in escapes is for whoever reads the text to refuse, by its field; here it passes as another one.
    QByteArray whole = body;
    whole.replace("\\ud", "\\uc").replace("\\uD", "\\uC");
    if (!nlohmann::json::sax_parse(whole.begin(), whole.end(), &reader))
        throw Failure(400, Messages::NoJsonObject);
    // It drops a byte order mark that begins a text: two ids, or two passwords, would be one.
    QByteArray text = body;
    text.replace("\"\xef\xbb\xbf", "\"\\ufeff");
    const QJsonDocument document = QJsonDocument::fromJson(text);
    if (!document.isObject())
        throw Failure(400, Messages::NoJsonObject);
    m_object = document.object();
}

QString JsonInput::text(const char* key) const
{
    const QJsonValue value = m_object.value(QLatin1String(key));
    if (!value.isString())
        throw wrong(key);
    return value.toString();
}

QString JsonInput::optionalText(const char* key) const
{
    return m_object.contains(QLatin1String(key)) ? text(key) : QString();
}

QStringList JsonInput::texts(const char* key) const
{
    const QJsonValue value = m_object.value(QLatin1String(key));
    if (!value.isArray())
        throw wrong(key);
    QStringList result;
    const QJsonArray array = value.toArray();
    for (const QJsonValue& element : array) {
        if (!element.isString())
            throw wrong(key);
        result.append(element.toString());
    }
    return result;
}

int JsonInput::optionalNumber(const char* key, int maximum) const
{
    const QJsonValue value = m_object.value(QLatin1String(key));
    if (value.isUndefined())
        return 0;
    const double number = value.toDouble(-1);
    if (!(number >= 0 && number <= maximum) || number != int(number))
        throw wrong(key);
    return int(number);
}

} // namespace server
