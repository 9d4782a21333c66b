// SPDX-License-Identifier: MIT
#include "host/redis/shared_store.h"

#include <algorithm>

#include "host/base/integer.h"
#include "host/base/printable.h"
#include "host/base/text_file.h"
#include "host/redis/redis_store.h"

namespace host {
namespace {

constexpr std::size_t longest_password = 512;

std::string read_password(const std::string& file, std::string& error)
{
    std::string password = read_text(file, &error).value_or("");
    password.resize(std::min(password.find_first_of("\r\n"), password.size()));
    if (error.empty() && (password.empty() || password.size() > longest_password))
        error = "the first line is no password of at most 512 characters";
    return password;
}

} // namespace

std::unique_ptr<Store> open_shared_store(const SharedDatabase& database, ChangeDispatcher& changes,
                                         Clock& clock, Log& log, GiveUp give_up, std::string& error)
{
    const std::string shown = printable(database.address);
    std::string name = "AP_DATABASE: '" + shown + "'";
    const std::size_t mark = database.address.rfind('#');
    const std::string address = database.address.substr(0, mark);
    const std::string number = mark == std::string::npos ? "0" : database.address.substr(mark + 1);
    std::string why;
    RedisStore::Access access{shown, find_endpoints(address, why), number, "", give_up};
    if (parse_integer(number).value_or(-1) < 0)
        why = "write #N behind the address for database N";
    if (why.empty() && !database.password_file.empty()) {
        access.password = read_password(database.password_file, why);
        if (!why.empty())
            name = "AP_DATABASE_PASSWORD_FILE: " + printable(database.password_file);
    }
    auto store = std::make_unique<RedisStore>(std::move(access), changes, clock, log);
    if (why.empty() && store->start(why))
        return store;
    if (why.find("NOAUTH") != std::string::npos)
        why += " Put the name of a file with the password into AP_DATABASE_PASSWORD_FILE.";
    error = name + ": " + why;
    return nullptr;
}

} // namespace host
