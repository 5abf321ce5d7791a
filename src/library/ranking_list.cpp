#include "library/ranking_list.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>

#include "foundation/localization.h"
#include "foundation/network.h"
#include "foundation/text.h"
#include "foundation/threads.h"
#include "library/catalogue_addresses.h"
#include "platform/host.h"

namespace morvane {
namespace {

constexpr int rowsAskedFor = 25;

const char* nameOf(NSRankingList::TableType type) {
    switch (type) {
        case NSRankingList::TableType::latest:
            return "latest";
        case NSRankingList::TableType::popular:
            return "popular";
        case NSRankingList::TableType::highrated:
            return "highrated";
    }
    return "";
}

/// "1234567" as "1,234,567".
std::string withGroupingSeparators(std::int64_t number) {
    std::string digits = std::to_string(number);
    const std::size_t sign = number < 0 ? 1 : 0;
    for (std::size_t place = digits.size(); place > sign + 3; place -= 3) digits.insert(place - 3, ",");
    return digits;
}

std::string oneDecimal(double number) {
    // Whatever a server calls a rating fits.
    std::array<char, std::numeric_limits<double>::max_exponent10 + 8> text{};
    std::snprintf(text.data(), text.size(), "%.1f", number);
    return text.data();
}

double numberOf(const std::string& text) {
    const double number = std::strtod(text.c_str(), nullptr);
    return std::isfinite(number) ? number : 0;
}

bool isDigits(std::string_view text) {
    return !text.empty() && text.find_first_not_of("0123456789") == std::string_view::npos;
}

}  // namespace

NSRankingList::NSRankingList(TableType tableType, Callbacks callbacks)
    : tableType_(tableType),
      callbacks_(std::move(callbacks)),
      self_(std::make_shared<NSRankingList*>(this)) {}

NSRankingList::~NSRankingList() {
    *self_ = nullptr;
}

void NSRankingList::loadRankingListForVideoCard(const std::string& card) {
    if (state_ == State::loading || state_ == State::loaded) return;
    state_ = State::loading;
    if (callbacks_.reload) callbacks_.reload();
    MVThread::dispatchQueueWithName(
        "app.morvane.loadRankingList", Priority::normal, [self = self_, type = tableType_, card] {
            std::optional<std::string> answer;
            if (NSUtilities::isWebsiteOfUrlAvailable(host().sites.catalogue)) {
                // Byte by byte: names outside ASCII are in these lists as well.
                answer = catalogue::answerOf(catalogue::rankingAddress(nameOf(type), rowsAskedFor, card));
            }
            auto rows = answer ? rowsOfAnswer(*answer, type) : std::vector<Row>();
            MVThread::dispatchBlockInMainQueue(
                [self, reached = answer.has_value(), rows = std::move(rows)]() mutable {
                    if (*self == nullptr) return;
                    NSRankingList& list = **self;
                    list.state_ = reached ? State::loaded : State::unreachable;
                    list.rows_ = std::move(rows);
                    if (list.callbacks_.reload) list.callbacks_.reload();
                });
        });
}

std::string NSRankingList::notice() const {
    switch (state_) {
        case State::loading:
            return localized("Loading...");
        case State::unreachable:
            return catalogue::unreachable();
        case State::loaded:
            return rows_.empty() ? localized("Nothing here yet.") : "";
        case State::notAsked:
            break;
    }
    return "";
}

std::string NSRankingList::title() const {
    switch (tableType_) {
        case TableType::latest:
            return localized("Latest ports");
        case TableType::popular:
            return localized("Most downloaded");
        case TableType::highrated:
            return localized("Best rated");
    }
    return "";
}

std::vector<NSRankingList::Row> NSRankingList::rowsOfAnswer(std::string_view answer, TableType tableType) {
    std::vector<Row> rows;
    for (const std::string& piece : MVString::split(answer, "<br>")) {
        const auto fields = MVString::split(piece, " || ");
        if (fields.size() < 4 || !MVString::isValidUtf8(piece)) continue;
        Row row;
        row.id = MVString::initialIntValue(MVString::trimmed(fields[0]));
        row.creator = fields[1];
        row.name = fields[2];
        switch (tableType) {
            case TableType::latest:
                row.date = dateToReadableDate(fields[3]);
                break;
            case TableType::popular:
                row.downloads = MVString::initialIntValue(fields[3]);
                break;
            case TableType::highrated:
                row.rate = numberOf(fields[3]);
                break;
        }
        rows.push_back(std::move(row));
    }
    return rows;
}

std::string NSRankingList::dateToReadableDate(std::string_view date) {
    static constexpr std::array months{marked("Jan"), marked("Feb"), marked("Mar"), marked("Apr"),
                                       marked("May"), marked("Jun"), marked("Jul"), marked("Aug"),
                                       marked("Sep"), marked("Oct"), marked("Nov"), marked("Dec")};
    const auto parts = MVString::split(MVString::trimmed(date), "-");
    if (parts.size() != 3 || !isDigits(parts[1]) || parts[1].size() > 2) return std::string(date);
    const std::int64_t month = MVString::initialIntValue(parts[1]);
    if (month < 1 || month > 12) return std::string(date);
    return filled("%@/%@/%@", {parts[2], localized(months[static_cast<std::size_t>(month - 1)]), parts[0]});
}

std::string NSRankingList::valueAtRow(std::size_t index) const {
    const Row& row = rows_.at(index);
    switch (tableType_) {
        case TableType::latest:
            return filled("(%@) %@", {row.date, row.name});
        case TableType::popular:
            return filled("(%@ down.) %@", {withGroupingSeparators(row.downloads), row.name});
        case TableType::highrated:
            return filled("%@ - %@", {oneDecimal(row.rate), row.name});
    }
    return "";
}

void NSRankingList::doubleClick(std::size_t row) {
    if (row < rows_.size() && callbacks_.openDescription) callbacks_.openDescription(rows_[row].id);
}

}  // namespace morvane
