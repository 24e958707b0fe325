// Texts and output of the rule counters.
#include "RuleCounters.h"

#include <iomanip>

namespace Reference {

void RuleCounters::Add(const RuleCounters& other) {
    for (std::size_t i = 0; i < ruleCount; ++i) _counts[i] += other._counts[i];
}

const char* RuleCounters::TextOf(Rule rule) {
    static constexpr std::array<const char*, ruleCount> texts = {
#define REFERENCE_RULE_TEXT(name, text) text,
        REFERENCE_RULES(REFERENCE_RULE_TEXT)
#undef REFERENCE_RULE_TEXT
    };
    return texts[static_cast<std::size_t>(rule)];
}

std::ostream& operator<<(std::ostream& out, const RuleCounters& counters) {
    for (std::size_t i = 0; i < ruleCount; ++i) {
        const Rule rule = static_cast<Rule>(i);
        out << std::setw(12) << counters.Of(rule) << "  " << RuleCounters::TextOf(rule) << '\n';
    }
    return out;
}

}  // namespace Reference
