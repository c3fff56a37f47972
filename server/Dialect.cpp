// SPDX-License-Identifier: GPL-3.0-or-later
#include "server/Dialect.h"

#include "server/DatabaseAddress.h"
#include "server/PostgresDialect.h"
#include "server/SqliteDialect.h"

namespace server {

std::unique_ptr<Dialect> Dialect::of(const DatabaseAddress& address)
{
    if (address.engine == DatabaseAddress::Engine::Postgres)
        return std::make_unique<PostgresDialect>(address);
    return std::make_unique<SqliteDialect>(address.path);
}

} // namespace server
