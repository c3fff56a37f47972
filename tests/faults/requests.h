// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "tests/faults/Stage.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <functional>

/// What a reply that counts as a success holds.
enum class Body
{
    Good,
    Empty,
    /// JSON of the other kind: an array for an object, an object for an array.
    Wrong,
};

/// How a request of the program comes about, and what the program makes of the reply.
///
/// The rule, which holds unless a member says otherwise: while the program waits, one overlay covers `covered`. A
/// failure is told in one box over `covered`, and all that the user sees stays as it was. After the screen has gone
/// nothing is told and nothing changes.
struct Request
{
    const char* name;
    /// The test entry that it belongs to.
    const char* group;
    /// The operation of Controller, and the file that calls it; `site` counts the calls of one operation in one file.
    const char* operation;
    const char* source;
    int site;
    QByteArray method;
    QByteArray target;
    QByteArray good;
    QByteArray wrong;

    /// Brings the program to where the request can be made.
    std::function<void(Stage&)> prepare;
    /// Makes the request by the widgets, and calls `waiting` once, in the loop in which the program then waits.
    std::function<void(Stage&, const std::function<void()>& waiting)> trigger;
    /// What a success leads to, and that it does so.
    std::function<void(Stage&, Body)> succeeded;

    // --- the exceptions ---

    /// The widget that waits; the screen on top if there is none.
    std::function<QWidget*(Stage&)> covered = nullptr;
    /// Without an overlay.
    bool bare = false;
    /// Makes what waits go while it waits; otherwise its dialogs are given up and its screens are dropped.
    std::function<void(Stage&)> drop = nullptr;
    /// A button that is dead while the program waits, and alive again after a failure.
    const char* deadButton = nullptr;
    /// Further requests that a success leads to.
    std::function<void(Stage&, Body)> follow = nullptr;
    /// What more is true after a failure.
    std::function<void(Stage&)> failed = nullptr;
    /// The owner of the list of patients asks, who outlives every screen: it tells of a failure even if the screen is
    /// gone, over nothing then, and takes what a success brings.
    bool outlives = false;
    /// The session is changed by a success, whatever became of the screen: the header that later requests carry.
    std::function<QByteArray(Body)> session = nullptr;
    /// Through a manager of its own, which knows no limit of time and takes a redirection for a success.
    bool upload = false;
    /// The trigger makes another request first, and the reply to it leads to this one.
    bool chained = false;
    /// Its end with the window is the end of the process, which another function of the test runs.
    bool endsProcess = false;
};

const QList<Request>& requests();
