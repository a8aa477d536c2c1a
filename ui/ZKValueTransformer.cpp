// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKValueTransformer.h"

#include "ZKContainsValuesTransformer.h"
#include "ZKDisabledTextColorTransformer.h"
#include "ZKIsFtpPathTransformer.h"
#include "ZKIsInProgressTransformer.h"
#include "ZKIsValidPathTransformer.h"
#include "ZKIsValidUrlTransformer.h"
#include "ZKProgressBarHueTransformer.h"
#include "ZKSpeedLimitSliderTransformer.h"
#include "ZKTaskActionIconTransformer.h"
#include "ZKUrlTransformer.h"

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
        add("ZKContainsValuesTransformer", std::make_shared<ZKContainsValuesTransformer>());
        add("ZKDisabledTextColorTransformer", std::make_shared<ZKDisabledTextColorTransformer>());
        add("ZKIsFtpPathTransformer", std::make_shared<ZKIsFtpPathTransformer>());
        add("ZKIsInProgressTransformer", std::make_shared<ZKIsInProgressTransformer>());
        add("ZKIsValidPathTransformer", std::make_shared<ZKIsValidPathTransformer>());
        add("ZKIsValidUrlTransformer", std::make_shared<ZKIsValidUrlTransformer>());
        add("ZKProgressBarHueTransformer", std::make_shared<ZKProgressBarHueTransformer>());
        add("ZKSpeedLimitSliderTransformer", std::make_shared<ZKSpeedLimitSliderTransformer>());
        add("ZKTaskActionIconTransformer", std::make_shared<ZKTaskActionIconTransformer>());
        add("ZKUrlTransformer", std::make_shared<ZKUrlTransformer>());
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
