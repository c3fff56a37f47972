// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

class QApplication;

/// Gives the application its style sheet, its names, its attributes and its icon. Nothing is reported: a missing
/// resource leaves the plain look.
void init(QApplication& app);
