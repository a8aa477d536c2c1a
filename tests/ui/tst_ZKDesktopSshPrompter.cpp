// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#include "ZKDesktopSshPrompter.h"

#include <QApplication>
#include <QCheckBox>
#include <QDeadlineTimer>
#include <QDialog>
#include <QLineEdit>
#include <QMessageBox>
#include <QPointer>
#include <QPushButton>
#include <QTest>

#include <future>

// The questions of an SSH connection as a worker asks them and a user
// answers them in the window, the worker waiting meanwhile.
class TestZKDesktopSshPrompter : public QObject {
    Q_OBJECT

    ZKDesktopSshPrompter m_prompter;

    // The visible dialog of that kind, waiting up to ten seconds for one.
    template <typename Dialog> static Dialog *waitForDialog() {
        QDeadlineTimer deadline(10000);
        while (!deadline.hasExpired()) {
            for (QWidget *widget : QApplication::topLevelWidgets()) {
                if (auto *dialog = qobject_cast<Dialog *>(widget); dialog && dialog->isVisible()) {
                    return dialog;
                }
            }
            QTest::qWait(10);
        }
        return nullptr;
    }

    template <typename Result> static Result waitFor(std::future<Result> &answer) {
        while (answer.wait_for(std::chrono::milliseconds(10)) != std::future_status::ready) {
            QCoreApplication::processEvents();
        }
        return answer.get();
    }

private Q_SLOTS:
    void hostKey_data() {
        QTest::addColumn<QString>("answer");
        QTest::addColumn<bool>("accepted");
        QTest::newRow("connect") << "Connect" << true;
        QTest::newRow("cancel") << "Cancel" << false;
        QTest::newRow("escape") << "" << false;
        QTest::newRow("refused while up") << "refuse" << false;
    }

    void hostKey() {
        QFETCH(QString, answer);
        QFETCH(bool, accepted);
        std::future<bool> result = std::async(std::launch::async, [this] {
            return m_prompter.acceptNewHostKey(QStringLiteral("box:2222"),
                                               QStringLiteral("ED25519"),
                                               QStringLiteral("SHA256:abc"));
        });
        QPointer<QMessageBox> box = waitForDialog<QMessageBox>();
        QVERIFY(box);
        QVERIFY2(box->text().contains(QStringLiteral("box:2222")) &&
                     box->informativeText().contains(QStringLiteral("SHA256:abc")),
                 qPrintable(box->text() + box->informativeText()));
        // Trusting a server is never what Return does by itself.
        QVERIFY(box->defaultButton() != nullptr);
        QCOMPARE(box->defaultButton()->text(), box->button(QMessageBox::Cancel)->text());
        if (answer == QLatin1String("refuse")) {
            ZKSshPrompter::refusePendingPrompts();
        } else if (answer.isEmpty()) {
            QTest::keyClick(box, Qt::Key_Escape);
        } else {
            for (QAbstractButton *button : box->buttons()) {
                if (button->text().remove(QLatin1Char('&')) == answer) {
                    QTest::mouseClick(button, Qt::LeftButton);
                }
            }
        }
        QCOMPARE(waitFor(result), accepted);
        QTRY_VERIFY(!box || !box->isVisible());
    }

    void secret_data() {
        QTest::addColumn<bool>("keep");
        QTest::addColumn<bool>("cancel");
        QTest::newRow("typed") << false << false;
        QTest::newRow("typed and kept") << true << false;
        QTest::newRow("cancelled") << false << true;
    }

    void secret() {
        QFETCH(bool, keep);
        QFETCH(bool, cancel);
        bool remember = false;
        std::future<std::optional<QString>> result = std::async(std::launch::async, [&] {
            return m_prompter.askSecret(QStringLiteral("Enter the passphrase:"), &remember);
        });
        QDialog *dialog = waitForDialog<QDialog>();
        QVERIFY(dialog);
        auto *field = dialog->findChild<QLineEdit *>();
        QVERIFY(field);
        QCOMPARE(field->echoMode(), QLineEdit::Password);
        QTest::keyClicks(field, QStringLiteral("s3cret word"));
        if (keep) {
            QTest::mouseClick(dialog->findChild<QCheckBox *>(), Qt::LeftButton);
        }
        QTest::keyClick(field, cancel ? Qt::Key_Escape : Qt::Key_Return);
        const std::optional<QString> typed = waitFor(result);
        QCOMPARE(typed.has_value(), !cancel);
        if (!cancel) {
            QCOMPARE(*typed, QStringLiteral("s3cret word"));
        }
        QCOMPARE(remember, keep);
    }

    // The main thread never waits for its own answer.
    void mainThreadIsNotAsked() {
        bool remember = true;
        QVERIFY(!m_prompter.acceptNewHostKey(QStringLiteral("box"), QStringLiteral("RSA"),
                                             QStringLiteral("SHA256:x")));
        QVERIFY(!m_prompter.askSecret(QStringLiteral("Password:"), &remember));
        QVERIFY(!remember);
    }
};

QTEST_MAIN(TestZKDesktopSshPrompter)
#include "tst_ZKDesktopSshPrompter.moc"
