// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QPixmap>

class QString;

/// The picture at a path such as ":/images/edit.png"; on a screen of double density its "@2x" double, whose size in
/// pixels is twice that on the screen. QIcon and the style sheet choose by themselves, a pixmap does not. Null if there
/// is no such picture.
QPixmap picture(const QString& path);
