// SPDX-License-Identifier: GPL-3.0-or-later
#include "platform/database/modSortOrder.h"

#include <QCollator>
#include <algorithm>
#include <numeric>
#include <optional>

namespace
{
enum class Kind : quint8
{
    Null,
    Number,
    Text
};

struct SortValue
{
    Kind kind = Kind::Null;
    double number = 0;
    quint32 text = 0; ///< index among the sort keys
};

QCollator Collator()
{
    // The "C" locale has no rules for people: its collator compares code points, and its sort keys are all equal.
    const QLocale locale;
    QCollator collator(locale.language() == QLocale::C ? QLocale(QLocale::English) : locale);
    collator.setCaseSensitivity(Qt::CaseInsensitive);
    return collator;
}
} // namespace

std::vector<quint32> modSortOrder::Ascending(const std::vector<QVariant>& values)
{
    std::optional<QCollator> collator;
    std::vector<QCollatorSortKey> texts;
    std::vector<SortValue> sorted;
    sorted.reserve(values.size());
    for (const QVariant& value : values) {
        if (value.isNull()) {
            sorted.push_back({});
        } else if (value.metaType().id() == QMetaType::QString) {
            if (!collator) {
                collator.emplace(Collator());
                texts.reserve(values.size());
            }
            sorted.push_back({Kind::Text, 0, static_cast<quint32>(texts.size())});
            texts.push_back(collator->sortKey(value.toString()));
        } else {
            sorted.push_back({Kind::Number, value.toDouble(), 0});
        }
    }

    std::vector<quint32> order(values.size());
    std::iota(order.begin(), order.end(), 0u);
    std::stable_sort(order.begin(), order.end(), [&](quint32 left, quint32 right) {
        const SortValue& a = sorted[left];
        const SortValue& b = sorted[right];
        if (a.kind != b.kind)
            return a.kind < b.kind;
        if (a.kind == Kind::Text)
            return texts[a.text].compare(texts[b.text]) < 0;
        return a.number < b.number;
    });
    return order;
}
