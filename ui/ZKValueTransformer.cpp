// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKValueTransformer.h"

#include "ZKDisabledTextColorTransformer.h"
#include "ZKProgressBarHueTransformer.h"
#include "ZKSpeedLimitSliderTransformer.h"
#include "ZKTaskActionIconTransformer.h"

#include <QHash>

#include <memory>

namespace {

using Registry = QHash<QString, std::shared_ptr<const ZKValueTransformer>>;

// Made on first use and only read after.
const Registry &registry() {
    static const Registry transformers = [] {
        Registry made;
        const auto add = [&made](const char *name, std::shared_ptr<const ZKValueTransformer> t) {
            made.insert(QString::fromLatin1(name), std::move(t));
        };
        add("ZKDisabledTextColorTransformer", std::make_shared<ZKDisabledTextColorTransformer>());
        add("ZKProgressBarHueTransformer", std::make_shared<ZKProgressBarHueTransformer>());
        add("ZKSpeedLimitSliderTransformer", std::make_shared<ZKSpeedLimitSliderTransformer>());
        add("ZKTaskActionIconTransformer", std::make_shared<ZKTaskActionIconTransformer>());
        return made;
    }();
    return transformers;
}

} // namespace

QVariant ZKValueTransformer::reverseTransformedValue(const QVariant &) const {
    return {};
}

const ZKValueTransformer *ZKValueTransformer::valueTransformerForName(const QString &name) {
    const auto found = registry().constFind(name);
    return found == registry().constEnd() ? nullptr : found->get();
}

QStringList ZKValueTransformer::valueTransformerNames() {
    QStringList names = registry().keys();
    names.sort();
    return names;
}
