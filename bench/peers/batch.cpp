#include "peers.h"

namespace peers {

void Batch::fill(long long first) {
    resize(dataset::batch_rows);
    static dataset::Batch source(dataset::batch_rows);
    source.fill(first);
    for (std::size_t i = 0; i < ids.size(); ++i) {
        ids[i] = source.ids[i];
        symbols[i] = source.symbols[i].c_str();
        quantities[i] = source.quantities[i];
        prices[i] = source.prices[i];
        const std::string digits = source.dates[i].mb_toString(DTF_YYYYMMDDHH24MISS).c_str();
        dates[i] = digits.substr(0, 4) + '-' + digits.substr(4, 2) + '-' + digits.substr(6, 2) + ' ' +
                   digits.substr(8, 2) + ':' + digits.substr(10, 2) + ':' + digits.substr(12, 2);
    }
}

void Batch::add_to(dataset::Total& total, std::size_t count) const {
    for (std::size_t i = 0; i < count; ++i)
        total.add(ids[i], symbols[i].size(), quantities[i], prices[i], day_of(dates[i]));
}

void Batch::resize(std::size_t count) {
    ids.resize(count);
    symbols.resize(count);
    quantities.resize(count);
    prices.resize(count);
    dates.resize(count);
}

const std::vector<std::string>& settings() {
    static const std::vector<std::string> all = {"PRAGMA journal_mode=WAL", "PRAGMA synchronous=NORMAL",
                                                 "PRAGMA foreign_keys=ON", "PRAGMA temp_store=MEMORY"};
    return all;
}

} // namespace peers
