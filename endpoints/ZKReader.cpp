// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKReader.h"

#include <typeinfo>

ZKEnumerationResult ZKReader::enumerateContentsOfFileWithBlock(const DataBlock &block) {
    ZKEnumerationResult result = ZKEnumerationResultContinue;
    while (hasMoreData()) {
        const QByteArray data = readBlock();
        if (data.isEmpty()) {
            break;
        }
        result = block(data);
        if (result == ZKEnumerationResultStop) {
            break;
        }
    }
    return result;
}

const ZKOptionalError ZKReader::noError;

void ZKReader::setError(ZKError error) {
    if (!m_error) {
        m_error = std::make_unique<ZKOptionalError>();
    }
    *m_error = std::move(error);
}

bool ZKReader::isEqual(const ZKReader &other) const {
    return typeid(*this) == typeid(other) && url() == other.url();
}

QByteArray ZKReader::readBlockOfLength(quint64 length) {
    QByteArray gathered;
    while (hasMoreData() && quint64(gathered.size()) < length) {
        const QByteArray block = readBlockOfMaximumLength(length - quint64(gathered.size()));
        if (block.isEmpty()) {
            break;
        }
        gathered.append(block);
    }
    return gathered;
}
