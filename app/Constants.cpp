// SPDX-License-Identifier: GPL-3.0-or-later
#include "app/Constants.h"

namespace Constants {

const char* const VERSION = QUELMAR_VERSION;
const char* const NAME = "Quelmar";
const char* const ORG_NAME = "Quelmar Signal Systems";
const char* const ORG_DOMAIN = "Wellness";
const char* const WEBSITE = "https://www.quelmar.example";
const char* const EMAIL = "support@quelmar.example";

const QStringList LANGUAGES{QStringLiteral("en_US"), QStringLiteral("ru_RU")};
const QString DEVICE_USB = QStringLiteral("Quelmar USB v");
const QString DEVICE_OLD = QStringLiteral("C-Media USB Headphone Set");
const QStringList DEVICES{DEVICE_USB, DEVICE_OLD};

} // namespace Constants
