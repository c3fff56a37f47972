// SPDX-License-Identifier: GPL-3.0-or-later
#include "model/Category.h"
#include "signal/Utils.h"
#include "tests/fuzz/Application.h"

#include <QVariant>

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    Application::start();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, size_t size)
{
    const QJsonArray reply =
        Utils::bytesToArray(QByteArray(reinterpret_cast<const char*>(data), static_cast<int>(size)));
    for (const QJsonValue& element : reply) {
        const QJsonObject json = element.toObject();
        // As it travels in a combo box.
        const auto category = QVariant::fromValue(Category(json)).value<Category>();
        require(category.getTitle() == json.value(QLatin1String("title")).toString(), "a title is a text");
        const QJsonArray storages = json.value(QLatin1String("storages")).toArray();
        Category copy = category;
        const QList<Storage> list = copy.getStorages();
        require(list.size() == storages.size(), "every storage is there");
        for (int i = 0; i < list.size(); ++i) {
            const QJsonObject storage = storages.at(i).toObject();
            const auto read = QVariant::fromValue(list.at(i)).value<Storage>();
            require(read.getId() == storage.value(QLatin1String("id")).toString(), "an id is a text");
            require(read.getTitle() == storage.value(QLatin1String("title")).toString(), "a title is a text");
            require(read.getFrequencies() == (storage.value(QLatin1String("frequencies")) == QJsonValue(true)),
                    "true alone is");
        }
    }
    return 0;
}
