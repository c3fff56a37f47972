// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace server {

/// The three descriptors that every program starts with.
class StandardStreams
{
public:
    StandardStreams() = delete;

    /// Opens what whoever started the program has closed, on nothing: a database or a connection would get its number,
    /// and with it what is meant for a reader. Has to come before anything else is opened.
    static void ensure();
};

} // namespace server
