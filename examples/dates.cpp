// The three date types: DTK_Date counts days, DTK_DateTime counts seconds, DTK_DbDate is what the database stores. They
// convert into each other; texts are digits alone.
#include "dtk/handles.h"

#include <algorithm>
#include <iostream>
#include <string>

namespace {

std::string text(const DTK_Date& date) {
    return date.mb_toString(DF_YYYYMMDD).c_str();
}
std::string text(const DTK_DateTime& time) {
    return time.mb_toString(DTF_YYYYMMDDHH24MISS).c_str();
}

DTK_Date months_later(DTK_Date date, int months) {
    date.mb_addMonths(months);
    return date;
}

/// A last day of a month stays one with mb_addMonths. This keeps the day's number wherever the new month has it.
DTK_Date same_day_months_later(DTK_Date date, int months) {
    st_Date fields, target;
    date.mb_JdaytoYMD(fields);
    months_later(DTK_Date(fields.year, fields.month, 1), months).mb_JdaytoYMD(target);
    return DTK_Date(target.year, target.month, std::min(fields.day, date.mb_daysInMonth(target)));
}

/// Months back for a time of day: DTK_DateTime refuses to step back into December, DTK_Date does it.
DTK_DateTime months_earlier(const DTK_DateTime& time, int months) {
    int year, month, day, hour, minute, second;
    time.mb_toDateTime(year, month, day, hour, minute, second);
    months_later(DTK_Date(year, month, day), -months).mb_JdaytoYMD(year, month, day);
    return DTK_DateTime(year, month, day, hour, minute, second);
}

void store_and_read(DTK_ConnectionBase& connection, const DTK_DbDate& date) {
    dtk::execute(connection, "CREATE TABLE appointment (at DATE)");
    const auto insert = dtk::prepare(connection, "INSERT INTO appointment VALUES (:1)");
    insert->mb_setDate(1, date);
    insert->mb_executeUpdate();
    connection.mb_commit();
    const auto query = dtk::prepare(connection, "SELECT at, at + 1.5 FROM appointment");
    const auto rows = dtk::open(*query);
    while (rows->mb_fetch())
        std::cout << "stored " << text(DTK_DateTime(rows->mb_getDate(1)))
                  << ", and a day and a half later: " << text(DTK_DateTime(rows->mb_getDate(2))) << '\n';
}

} // namespace

int main() try {
    // Days: differences, and the days of a month.
    DTK_Date leap_day(2024, 2, 29);
    st_Date fields;
    leap_day.mb_JdaytoYMD(fields);
    char landing[] = "19690720", today[] = "20240229";
    std::cout << leap_day.mb_dateDiff(today, landing) << " days from " << landing << " to " << text(leap_day)
              << ", in a month of " << leap_day.mb_daysInMonth(fields) << '\n';

    // Months: a day that the new month lacks becomes its last one, and a last day stays a last day.
    const DTK_Date january(2024, 1, 31), february(2023, 2, 28);
    std::cout << text(january) << " plus a month: " << text(months_later(january, 1)) << '\n'
              << text(february) << " plus a month: " << text(months_later(february, 1))
              << ", or with the same day: " << text(same_day_months_later(february, 1)) << '\n';

    // Seconds.
    DTK_DateTime night(2024, 12, 31, 23, 30, 0);
    night.mb_addMinutes(45);
    std::cout << "past midnight: " << text(night) << ", three months back: " << text(months_earlier(night, 3)) << '\n';

    // Texts with the day first are read by DTK_DbDate. Formatted texts: mb_toString owns its text, mb_toText lends it.
    char german[] = "24122024180000";
    const DTK_DbDate evening(german, DTF_DDMMYYYYHH24MISS);
    std::cout << "read " << text(DTK_DateTime(evening)) << ", with the day first "
              << evening.mb_toString(DTF_DDMMYYYYHH24MISS).c_str() << ", the day alone "
              << DTK_Date(evening).mb_toString(DF_DDMMYYYY).c_str() << '\n';
    const auto pool = dtk::make_pool("demo", "secret", "memory:dates", 1);
    store_and_read(*dtk::Connection(pool->mb_getConnection(true)), evening);
} catch (DTK_Exception& error) {
    std::cerr << "dates: " << error.what() << '\n';
    return 1;
}
