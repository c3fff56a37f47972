// SPDX-License-Identifier: GPL-3.0-or-later
#include <QByteArray>
#include <QtPlugin>

Q_IMPORT_PLUGIN(CapturePlugin)
Q_IMPORT_PLUGIN(SensorPlugin)

namespace {

/// Puts this program's capture service before every other one.
bool preferOwnCapture()
{
    const char* const variable = "QT_MULTIMEDIA_PREFERRED_PLUGINS";
    QByteArray preferred("quelmarcapture");
    const QByteArray others = qgetenv(variable);
    if (!others.isEmpty()) {
        preferred += ',' + others;
    }
    return qputenv(variable, preferred);
}

// Qt reads the variable once, when the first service is asked for: that can only come after the start of main.
[[maybe_unused]] const bool preferred = preferOwnCapture();

} // namespace
