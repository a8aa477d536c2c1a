// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKNotificationCenter.h"

#include <QTest>

#include <memory>

class TestZKNotificationCenter : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void deliversByNameAndSender();
    void observerGoesAwayWithContext();
    void observerMayRemoveItselfWhileNotified();
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

void TestZKNotificationCenter::observerGoesAwayWithContext() {
    ZKNotificationCenter center;
    int calls = 0;
    auto context = std::make_unique<QObject>();
    center.addObserver(QStringLiteral("N"), nullptr, context.get(),
                       [&](const ZKNotification &) { ++calls; });
    center.post(QStringLiteral("N"), nullptr);
    context.reset();
    center.post(QStringLiteral("N"), nullptr);
    QCOMPARE(calls, 1);
}

void TestZKNotificationCenter::observerMayRemoveItselfWhileNotified() {
    ZKNotificationCenter center;
    int calls = 0;
    quint64 token = 0;
    token = center.addObserver(QStringLiteral("N"), nullptr, nullptr, [&](const ZKNotification &) {
        ++calls;
        center.removeObserver(token);
    });
    center.post(QStringLiteral("N"), nullptr);
    center.post(QStringLiteral("N"), nullptr);
    QCOMPARE(calls, 1);
}

QTEST_GUILESS_MAIN(TestZKNotificationCenter)
#include "tst_ZKNotificationCenter.moc"
