// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QStringList>

class QWidget;

/// Looks at every text that a window shows: labels, buttons, boxes to tick, titles of groups, tabs, table headers, the
/// choices of combo boxes, placeholders of empty fields and the longest value of spin boxes.
struct ClippedTexts
{
    /// One line for each text that needs more room than its widget has, or whose widget sticks out of the window.
    QStringList clipped;
    /// How many texts were looked at.
    int measured = 0;
};

/// The window must be laid out and polished: shown, or grabbed once. Hidden widgets are passed over, also those in
/// another window.
ClippedTexts findClippedTexts(const QWidget& window);
