// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKNotificationCenter.h"

#include <QTest>

#include <memory>

class TestZKNotificationCenter : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void deliversByNameAndSender();
    void observersLeaveWithContextOrFromTheirHandler();
};

void TestZKNotificationCenter::deliversByNameAndSender() {
    ZKNotificationCenter center;
    QObject context;
    int a = 0;
    int b = 0;
    int any = 0;
    QVariantMap received;
    center.addObserver(QStringLiteral("N"), &a, &context, [&](const ZKNotification &n) {
        ++a;
        received = n.userInfo;
    });
    center.addObserver(QStringLiteral("N"), &b, &context, [&](const ZKNotification &) { ++b; });
    center.addObserver(QStringLiteral("N"), nullptr, &context,
                       [&](const ZKNotification &) { ++any; });

    center.post(QStringLiteral("N"), &a, {{QStringLiteral("bytes"), quint64(5)}});
    center.post(QStringLiteral("Other"), &a);
    QCOMPARE(a, 1);
    QCOMPARE(b, 0);
    QCOMPARE(any, 1);
    QCOMPARE(received.value(QStringLiteral("bytes")).toULongLong(), quint64(5));
}

void TestZKNotificationCenter::observersLeaveWithContextOrFromTheirHandler() {
    ZKNotificationCenter center;
    int withContext = 0;
    int once = 0;
    auto context = std::make_unique<QObject>();
    center.addObserver(QStringLiteral("N"), nullptr, context.get(),
                       [&](const ZKNotification &) { ++withContext; });
    quint64 token = 0;
    token = center.addObserver(QStringLiteral("N"), nullptr, nullptr, [&](const ZKNotification &) {
        ++once;
        center.removeObserver(token); // while the center is delivering
    });
    center.post(QStringLiteral("N"), nullptr);
    context.reset();
    center.post(QStringLiteral("N"), nullptr);
    QCOMPARE(withContext, 1);
    QCOMPARE(once, 1);
}

QTEST_GUILESS_MAIN(TestZKNotificationCenter)
#include "tst_ZKNotificationCenter.moc"
