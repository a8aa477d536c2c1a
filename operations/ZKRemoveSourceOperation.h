// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "ZKFileOperation.h"
#include "ZKOperationErrors.h"
#include "ZKReader.h"
#include "ZKWriter.h"

#include <memory>

// The last step of a move: checks once more that every item of the source
// stands at the destination with its size, and only then removes the source
// item with all its contents. After a refusal, an error or a cancellation
// nothing is removed.
//
// Items matching a skip pattern are not compared, and go with their folder:
// removal takes the whole source item. An item the user chose to skip is
// compared like any other and, not being there, blocks the removal. A link
// is compared as one item: removal takes the link, not what it points to.
// A file that stood at the destination before the task is compared in full.
// An item that no copy could take (a named pipe, a socket, a device, a name
// that is not valid UTF-8) stays in the source with the folders that lead to
// it; everything else of the source goes.
class ZKRemoveSourceOperation : public ZKFileOperation {
public:
    using ZKFileOperation::ZKFileOperation;

    // The copied item at the destination; set by main().
    const ZKReaderPtr &destinationReader() const { return m_destinationReader; }

    // Destination files the task found there and took as done without
    // writing them; unless comparedInFull (a verification passed), each is
    // compared byte for byte before its source may go. A file the task wrote
    // itself is trusted with its size.
    void setPreExistingUrls(const QSet<QUrl> &urls, bool comparedInFull) {
        m_preExistingUrls = urls;
        m_comparedInFull = comparedInFull;
    }

protected:
    void main() override;

private:
    void compareSource(ZKReader &source, ZKReader &copy);
    void removeItem(ZKWriter &writer);
    // Removes what the folder holds but the items that stay and the folders
    // on the way to them.
    void removeAllBut(ZKReader &folder);
    bool leadsToKeptFolder(const QUrl &url) const;
    void refuse(ZKOperationErrors::Message message, const QStringList &arguments);
    bool sameContents(ZKReader &source, ZKReader &copy);

    ZKReaderPtr m_destinationReader;
    QSet<QUrl> m_preExistingUrls;
    bool m_comparedInFull = false;
    // The paths of the source folders that hold an item no copy could take.
    QSet<QString> m_keptFolders;
};
