// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QString>
#include <QStringList>

/// The values of this build that the whole program shares; nothing changes them at run time.
namespace Constants {

extern const char* const VERSION;
extern const char* const NAME;
/// The maker's legal name.
extern const char* const ORG_NAME;
extern const char* const ORG_DOMAIN;
extern const char* const WEBSITE;
extern const char* const EMAIL;

/// Locale names the program speaks, in the order of the language menu.
extern const QStringList LANGUAGES;
/// Prefix of a sensor's name in the audio system; the version follows it.
extern const QString DEVICE_USB;
/// Name of the older sensor in the audio system.
extern const QString DEVICE_OLD;
/// All sensor names to look for.
extern const QStringList DEVICES;

} // namespace Constants
