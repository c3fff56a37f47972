// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

class QString;
class QTranslator;

/// Takes `translator` out of the application, fills it from `fileName` in the folder "languages" beside the program
/// and puts it back. If the file cannot be loaded, no translator is installed and the texts show as their keys.
void switchTranslator(QTranslator& translator, const QString& fileName);
