// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QPointer>
#include <QString>
#include <QStringList>

struct ZKQuestion {
    QString message;
    QString informativeText;
    QStringList buttons; // the first is the default
    bool showsApplyToAll = false;
    // Who asks: the queue document, or the task for a question of its own, so
    // that the desktop shows the question over that queue's window only.
    QPointer<const QObject> asker;
};

struct ZKAnswer {
    int button = 0; // index into ZKQuestion::buttons
    bool applyToAll = false;
};

// Asks the user something and waits for the answer. The desktop shows a
// message box, the terminal front end asks on the terminal or applies its
// --on-conflict choice, tests script the answers. Always called on the main
// thread.
class ZKQuestionPresenter {
public:
    virtual ~ZKQuestionPresenter() = default;
    virtual ZKAnswer ask(const ZKQuestion &question) = 0;

    // The presenter the engine asks through. Without one, every question is
    // answered with its default button.
    static ZKQuestionPresenter *shared();
    static void setShared(ZKQuestionPresenter *presenter);
    static ZKAnswer askShared(const ZKQuestion &question);
};
