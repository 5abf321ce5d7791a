#include <algorithm>
#include <array>
#include <cctype>

#include "platform/message_catalogue.h"

namespace morvane {

namespace {

/// Evaluates while it reads. A fault is remembered, and everything after it is 0.
class Rule {
  public:
    Rule(std::string_view text, std::uint64_t number) : left_(text), number_(number) {}

    std::optional<std::uint64_t> value() {
        const std::uint64_t result = condition();
        skipBlanks();
        if (isWrong_ || !left_.empty()) return std::nullopt;
        return result;
    }

  private:
    struct Operator {
        std::string_view sign;
        int level;  ///< a higher one binds more
    };

    std::uint64_t condition() {
        const std::uint64_t asked = binary(0);
        if (!take("?")) return asked;
        const std::uint64_t yes = condition();
        if (!take(":")) isWrong_ = true;
        const std::uint64_t no = condition();
        return asked != 0 ? yes : no;
    }

    std::uint64_t binary(int level) {
        constexpr int highest = 5;
        if (level > highest) return operand();
        std::uint64_t result = binary(level + 1);
        for (std::string_view sign = nextSign(level); !sign.empty() && !isWrong_; sign = nextSign(level)) {
            result = applied(sign, result, binary(level + 1));
        }
        return result;
    }

    std::string_view nextSign(int level) {
        // The longer of two that begin alike comes first.
        static constexpr std::array<Operator, 13> operators{{{"||", 0},
                                                             {"&&", 1},
                                                             {"==", 2},
                                                             {"!=", 2},
                                                             {"<=", 3},
                                                             {">=", 3},
                                                             {"<", 3},
                                                             {">", 3},
                                                             {"+", 4},
                                                             {"-", 4},
                                                             {"*", 5},
                                                             {"/", 5},
                                                             {"%", 5}}};
        for (const Operator& each : operators) {
            if (each.level == level && take(each.sign)) return each.sign;
        }
        return {};
    }

    std::uint64_t applied(std::string_view sign, std::uint64_t a, std::uint64_t b) {
        if (sign == "||") return a != 0 || b != 0 ? 1 : 0;
        if (sign == "&&") return a != 0 && b != 0 ? 1 : 0;
        if (sign == "==") return a == b ? 1 : 0;
        if (sign == "!=") return a != b ? 1 : 0;
        if (sign == "<=") return a <= b ? 1 : 0;
        if (sign == ">=") return a >= b ? 1 : 0;
        if (sign == "<") return a < b ? 1 : 0;
        if (sign == ">") return a > b ? 1 : 0;
        if (sign == "+") return a + b;
        if (sign == "-") return a - b;
        if (sign == "*") return a * b;
        if (b == 0) isWrong_ = true;
        if (isWrong_) return 0;
        return sign == "/" ? a / b : a % b;
    }

    std::uint64_t operand() {
        constexpr int deepest = 100;
        if (isWrong_ || ++depth_ > deepest) return wrong();
        std::uint64_t result = 0;
        if (take("!")) {
            result = operand() == 0 ? 1 : 0;
        } else if (take("(")) {
            result = condition();
            if (!take(")")) return wrong();
        } else if (take("n")) {
            result = number_;
        } else {
            result = digits();
        }
        --depth_;
        return result;
    }

    std::uint64_t digits() {
        if (left_.empty() || std::isdigit(static_cast<unsigned char>(left_[0])) == 0) return wrong();
        std::uint64_t result = 0;
        for (; !left_.empty() && std::isdigit(static_cast<unsigned char>(left_[0])) != 0;
             left_.remove_prefix(1)) {
            result = result * 10 + static_cast<std::uint64_t>(left_[0] - '0');
        }
        return result;
    }

    std::uint64_t wrong() {
        isWrong_ = true;
        return 0;
    }

    bool take(std::string_view sign) {
        skipBlanks();
        if (!left_.starts_with(sign)) return false;
        left_.remove_prefix(sign.size());
        return true;
    }

    void skipBlanks() { left_.remove_prefix(std::min(left_.find_first_not_of(" \t"), left_.size())); }

    std::string_view left_;
    std::uint64_t number_;
    int depth_ = 0;
    bool isWrong_ = false;
};

}  // namespace

std::optional<std::uint64_t> pluralForm(std::string_view rule, std::uint64_t number) {
    return Rule(rule, number).value();
}

}  // namespace morvane
