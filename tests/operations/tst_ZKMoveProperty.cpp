// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKAnalyseCopyOperation.h"
#include "ZKCopyOperation.h"
#include "ZKFileSystemReader.h"
#include "ZKFileSystemWriter.h"
#include "ZKRemoveSourceOperation.h"
#include "ZKTestSupport.h"
#include "ZKVerifyFileOperation.h"

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <QTest>

#include <unistd.h>

using ZKTestSupport::randomBytes;
using ZKTestSupport::readFile;
using ZKTestSupport::writeFile;

// A move never loses data: over random trees and random answers, after
// analyse, copy (possibly cancelled and resumed), an optional verify and
// remove-source, every source item is either still in the source unchanged
// or at the destination with the same bytes. Names matching a skip pattern
// are the exception by design: they are temporary files, left out of the copy
// and removed with their folder.
namespace {

const QStringList skipPatterns{"^\\.DS_Store$", "^\\.skip"};
const QStringList temporaryPatterns{"^\\.DS_Store$"};

struct Item {
    enum Kind { File, Folder, Link } kind = File;
    QByteArray data; // a file's bytes or a link's target
};
using Snapshot = QMap<QString, Item>;

Snapshot snapshot(const QString &root) {
    Snapshot items;
    QDirIterator it(root, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QFileInfo info(it.next());
        const QString relative = QDir(root).relativeFilePath(info.filePath());
        if (info.isSymLink()) {
            QByteArray target(4096, Qt::Uninitialized);
            const ssize_t length =
                ::readlink(QFile::encodeName(info.filePath()).constData(), target.data(), 4096);
            target.truncate(qMax<ssize_t>(length, 0));
            items.insert(relative, {Item::Link, target});
        } else if (info.isDir()) {
            items.insert(relative, {Item::Folder, {}});
        } else {
            items.insert(relative, {Item::File, readFile(info.filePath())});
        }
    }
    return items;
}

bool isDiscarded(const QString &relative) {
    for (const QString &part : relative.split('/')) {
        for (const QString &pattern : skipPatterns) {
            if (QRegularExpression(pattern).match(part).hasMatch()) {
                return true;
            }
        }
    }
    return false;
}

class Scenario {
public:
    Scenario(quint32 seed, const QString &root)
        : m_random(seed)
        , m_root(root) {}

    QString src() const { return m_root + "/src/t"; }
    QString dst() const { return m_root + "/dst"; }
    QString outside() const { return m_root + "/outside"; }

    void build() {
        QDir().mkpath(src());
        QDir().mkpath(dst() + "/t");
        QDir().mkpath(outside());
        writeFile(outside() + "/keep", "outside the tree");
        fill(src(), 0);
    }

    bool chance(int percent) { return int(m_random.bounded(100)) < percent; }
    quint32 pick(quint32 bound) { return m_random.bounded(bound); }
    QList<QString> files;

private:
    void fill(const QString &folder, int depth) {
        const int count = int(pick(7));
        for (int i = 0; i < count; ++i) {
            const QString name = QStringLiteral("n%1").arg(i);
            const quint32 kind = pick(100);
            if (kind < 40) {
                makeFile(folder + "/" + name, pick(4) == 0 ? pick(300000) : pick(20000));
            } else if (kind < 48) {
                makeFile(folder + "/" + name, 0);
            } else if (kind < 63 && depth < 3) {
                QDir().mkdir(folder + "/" + name);
                fill(folder + "/" + name, depth + 1);
            } else if (kind < 80) {
                static const QStringList targets{"n0", "../n1", "nowhere", "..", "."};
                const QString target = pick(5) == 0 ? outside() : targets.at(int(pick(5)));
                QFile::link(target, folder + "/" + name);
            } else if (kind < 90) {
                const QString skipped = pick(2) ? ".DS_Store" : QStringLiteral(".skip%1").arg(i);
                makeFile(folder + "/" + skipped, pick(3000));
            } else if (depth < 3) {
                QDir().mkdir(folder + "/.skipdir" + name);
                fill(folder + "/.skipdir" + name, depth + 1);
            }
        }
    }

    void makeFile(const QString &path, quint32 size) {
        const QByteArray data = randomBytes(size, m_random.generate());
        writeFile(path, data);
        files.append(path);
        // What an earlier run may have left at the destination.
        const QString there = QString(path).replace(src(), dst() + "/t");
        const quint32 earlier = pick(100);
        if (earlier < 40 || size == 0) {
            return;
        }
        QDir().mkpath(QFileInfo(there).path());
        if (earlier < 65) {
            writeFile(there,
                      data.left(qsizetype(1 + pick(size))).left(size - 1 > 0 ? size - 1 : 1));
        } else if (earlier < 77) {
            writeFile(there, randomBytes(size + 1 + pick(100), m_random.generate()));
        } else if (earlier < 93) {
            // Another file of the same size: older, or even carrying the
            // source's date, as a restored backup may.
            QByteArray other = data;
            other[int(pick(size))] = char(~other.at(int(pick(size))));
            other[0] = char(~data.at(0));
            writeFile(there, other);
            const bool sameDate = earlier >= 87;
            const QDateTime date = QFileInfo(path).lastModified();
            if (!ZKTestSupport::setModified(there, sameDate ? date : date.addDays(-1))) {
                qFatal("Cannot date %s", qPrintable(there));
            }
            if (sameDate) {
                disguised.insert(path);
            }
        } else {
            writeFile(there, {});
        }
    }

public:
    // Files whose destination looks finished by size and date alone.
    QSet<QString> disguised;

private:
    QRandomGenerator m_random;
    QString m_root;
};

ZKReaderPtr readerAt(const QString &path) {
    return ZKFileSystemReader::readerWithUrl(QUrl::fromLocalFile(path));
}

ZKWriterPtr folderAt(const QString &path) {
    return ZKFileSystemWriter::writerWithDirectory(QUrl::fromLocalFile(path));
}

template <typename Operation>
void configure(Operation &operation, const QSet<QUrl> &skipped, const QSet<QUrl> &replaced) {
    operation.setSkippedFilePatterns(skipPatterns);
    operation.setTemporaryFilePatterns(temporaryPatterns);
    operation.setSkippedUrls(skipped);
    operation.setReplacedUrls(replaced);
}

} // namespace

class TestZKMoveProperty : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void moveNeverLosesData_data();
    void moveNeverLosesData();
};

void TestZKMoveProperty::moveNeverLosesData_data() {
    QTest::addColumn<quint32>("seed");
    for (quint32 seed = 1; seed <= 80; ++seed) {
        QTest::addRow("seed %u", seed) << seed;
    }
}

void TestZKMoveProperty::moveNeverLosesData() {
    QFETCH(quint32, seed);
    QTemporaryDir root;
    Scenario scenario(seed, root.path());
    scenario.build();
    const Snapshot before = snapshot(scenario.src());
    const Snapshot outsideBefore = snapshot(scenario.outside());
    const qint32 handling = qint32(scenario.pick(3));
    const bool verify = scenario.chance(50);
    QSet<QUrl> skipped;
    if (!scenario.files.isEmpty() && scenario.chance(25)) {
        skipped.insert(QUrl::fromLocalFile(
            scenario.files.at(int(scenario.pick(quint32(scenario.files.size()))))));
    }
    const QString context = QStringLiteral("handling %1, verify %2").arg(handling).arg(verify);

    ZKAnalyseCopyOperation analyse(readerAt(scenario.src()), folderAt(scenario.dst()));
    configure(analyse, skipped, {});
    analyse.setSymbolicLinkHandling(handling);
    const bool replace = scenario.chance(50);
    analyse.setPreExistingFileHandler([replace](const ZKFileInfo &) {
        return replace ? ZKFileResponseReplace : ZKFileResponseSkip;
    });
    analyse.start();
    bool ok = !analyse.error();

    const int cancelAfter = int(scenario.pick(4)); // activity posts; 0: never
    for (int run = 0; ok && run < 2; ++run) {
        ZKCopyOperation copy(readerAt(scenario.src()), folderAt(scenario.dst()));
        configure(copy, analyse.skippedUrls(), analyse.replacedUrls());
        copy.setSymbolicLinkHandling(handling);
        int posts = 0;
        if (run == 0 && cancelAfter != 0) {
            copy.setActivityHandler([&](const ZKOperationActivity &) {
                if (++posts == cancelAfter) {
                    copy.cancel();
                }
            });
        }
        copy.start();
        ok = !copy.error();
        if (!copy.isCancelled()) {
            break;
        }
    }
    // A copy that succeeded holds every file that was not skipped.
    const QList<QString> copiedFiles = ok ? scenario.files : QList<QString>();
    for (const QString &file : copiedFiles) {
        const QString relative = QDir(scenario.src()).relativeFilePath(file);
        if (!isDiscarded(relative) && !analyse.skippedUrls().contains(QUrl::fromLocalFile(file)) &&
            !scenario.disguised.contains(file)) {
            QVERIFY2(readFile(scenario.dst() + "/t/" + relative) == readFile(file),
                     qPrintable(context + ": " + relative + " was not copied right"));
        }
    }
    if (ok && verify) {
        ZKVerifyFileOperation check(readerAt(scenario.src()), folderAt(scenario.dst()));
        configure(check, analyse.skippedUrls(), analyse.replacedUrls());
        check.setSymbolicLinkHandling(handling);
        check.start();
        ok = !check.error();
    }
    bool removed = false;
    if (ok) {
        ZKRemoveSourceOperation remove(readerAt(scenario.src()), folderAt(scenario.dst()));
        configure(remove, analyse.skippedUrls(), analyse.replacedUrls());
        remove.setPreExistingUrls(analyse.preExistingUrls(), verify);
        remove.start();
        removed = !remove.error();
        QCOMPARE(QFileInfo::exists(scenario.src()), !removed);
    }
    // An item the user chose to skip blocks the removal.
    for (const QUrl &url : analyse.skippedUrls() + skipped) {
        const QString relative = QDir(scenario.src()).relativeFilePath(url.toLocalFile());
        QVERIFY2(isDiscarded(relative) || !removed,
                 qPrintable(context + ": removed although " + relative + " was skipped"));
    }

    const Snapshot after = snapshot(scenario.src());
    const Snapshot copied = snapshot(scenario.dst() + "/t");
    for (auto it = before.cbegin(); it != before.cend(); ++it) {
        if (it->kind == Item::Folder || isDiscarded(it.key())) {
            continue;
        }
        const QString where = context + ": " + it.key();
        const auto kept = after.constFind(it.key());
        if (kept != after.cend()) {
            QVERIFY2(kept->kind == it->kind && kept->data == it->data,
                     qPrintable(where + " changed in the source"));
            continue;
        }
        const auto there = copied.constFind(it.key());
        QVERIFY2(there != copied.cend(), qPrintable(where + " is gone from both sides"));
        if (it->kind == Item::File) {
            QVERIFY2(there->kind == Item::File && there->data == it->data,
                     qPrintable(where + " differs at the destination"));
        } else if (handling == ZKSymbolicLinkHandlingCopyLink) {
            QVERIFY2(there->kind == Item::Link,
                     qPrintable(where + " is no link at the destination"));
            QVERIFY2(there->data == it->data, qPrintable(where + " points elsewhere"));
        }
    }
    QVERIFY2(snapshot(scenario.outside()).keys() == outsideBefore.keys(),
             qPrintable(context + ": something outside the source was touched"));
    QVERIFY(readFile(scenario.outside() + "/keep") == "outside the tree");
}

int main(int argc, char **argv) {
    ZKTestSupport::isolateSettings();
    QCoreApplication app(argc, argv);
    TestZKMoveProperty test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_ZKMoveProperty.moc"
