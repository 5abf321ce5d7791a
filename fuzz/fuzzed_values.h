// fuzz/fuzzed_values.h: values of every kind, as a hostile archive may hold them.
#pragma once

#include "fuzz/fuzzing.h"
#include "platform/value.h"

namespace morvane::fuzzing {

/// `key` gives the keys of dictionaries.
template <class Key>
Value valueFrom(FuzzedDataProvider& data, const Key& key, int depth = 4) {
    switch (data.ConsumeIntegralInRange(0, depth > 0 ? 8 : 6)) {
        case 0:
            return Value();
        case 1:
            return data.ConsumeIntegral<std::int64_t>();
        case 2:
            return data.ConsumeFloatingPointInRange(-1e18, 1e18);
        case 3:
            return data.ConsumeBool();
        case 4:
            return Data{data.ConsumeRandomLengthString(64)};
        case 5:
            return Date{data.ConsumeFloatingPointInRange(-1e9, 1e9)};
        case 6:
            return data.ConsumeRandomLengthString(64);
        case 7: {
            Array list;
            for (int left = data.ConsumeIntegralInRange(0, 4); left > 0; --left)
                list.push_back(valueFrom(data, key, depth - 1));
            return list;
        }
        default: {
            Dictionary dictionary;
            for (int left = data.ConsumeIntegralInRange(0, 12); left > 0; --left) {
                std::string name = key(data);
                dictionary.set(std::move(name), valueFrom(data, key, depth - 1));
            }
            return dictionary;
        }
    }
}

}  // namespace morvane::fuzzing
