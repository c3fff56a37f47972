// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QByteArray>
#include <QLatin1String>
#include <QString>

#include <memory>

namespace server {

/// Compact JSON that is written as it comes, without a tree of it in memory: for replies of many rows. The calls have
/// to follow the grammar; a key comes before each value of an object.
class JsonOutput
{
public:
    JsonOutput();
    ~JsonOutput();
    JsonOutput(const JsonOutput&) = delete;
    JsonOutput& operator=(const JsonOutput&) = delete;

    void beginObject();
    void endObject();
    void beginArray();
    void endArray();

    void key(QLatin1String name);
    void value(const QString& text);
    void value(int number);
    void value(bool truth);
    /// A literal would be taken for a truth.
    void value(const char* text) = delete;

    template <typename Value> void member(QLatin1String name, const Value& held)
    {
        key(name);
        value(held);
    }

    /// In UTF-8.
    QByteArray bytes() const;

private:
    struct Writing;
    std::unique_ptr<Writing> m_writing;
};

} // namespace server
