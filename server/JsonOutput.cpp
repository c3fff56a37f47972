// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/JsonOutput.h"

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

namespace server {

struct JsonOutput::Writing
{
    rapidjson::StringBuffer text;
    rapidjson::Writer<rapidjson::StringBuffer> writer{text};
};

JsonOutput::JsonOutput()
    : m_writing(std::make_unique<Writing>())
{
}

JsonOutput::~JsonOutput() = default;

void JsonOutput::beginObject()
{
    m_writing->writer.StartObject();
}

void JsonOutput::endObject()
{
    m_writing->writer.EndObject();
}

void JsonOutput::beginArray()
{
    m_writing->writer.StartArray();
}

void JsonOutput::endArray()
{
    m_writing->writer.EndArray();
}

void JsonOutput::key(QLatin1String name)
{
    m_writing->writer.Key(name.data(), rapidjson::SizeType(name.size()));
}

void JsonOutput::value(const QString& text)
{
    const QByteArray bytes = text.toUtf8();
    m_writing->writer.String(bytes.constData(), rapidjson::SizeType(bytes.size()));
}

void JsonOutput::value(int number)
{
    m_writing->writer.Int(number);
}

void JsonOutput::value(bool truth)
{
    m_writing->writer.Bool(truth);
}

QByteArray JsonOutput::bytes() const
{
    return QByteArray(m_writing->text.GetString(), int(m_writing->text.GetSize()));
}

} // namespace server
