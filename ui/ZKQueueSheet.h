// SPDX-FileCopyrightText: 2026 Ferrowick developers
// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDialog>
#include <QPointer>

class QPushButton;
class QVBoxLayout;
class ZKFerrowickDocument;

// A sheet over a queue's window that shows one of the queue's settings
// objects. It holds none of its own: loading a queue gives the document new
// objects, and the sheet binds to those.
class ZKQueueSheet : public QDialog {
    Q_OBJECT

public:
    // Window-modal over window; Done or Escape ends it.
    void displaySheetForWindow(QWidget *window);

    // Whether what the sheet sets is in force, and what it does, for the
    // toolbar button that opens it.
    virtual bool isOn() const = 0;
    virtual QString summary() const = 0;

Q_SIGNALS:
    // isOn() or summary() may read differently.
    void summaryChanged();

protected:
    ZKQueueSheet(ZKFerrowickDocument *document, QWidget *parent);

    ZKFerrowickDocument *document() const { return m_document; }
    // Binds now, and again whenever the document's objects are replaced;
    // the connections to the old objects ended with them. Called once the
    // controls exist; focus goes to first each time the sheet opens.
    void followDocument(QWidget *first);
    virtual void bind() = 0;
    // Ends the layout with the Done button, reached by Tab after last, and
    // gives the sheet the size its controls need.
    QPushButton *finishLayout(QVBoxLayout *layout, QWidget *last);

private:
    QPointer<ZKFerrowickDocument> m_document;
    QWidget *m_first = nullptr;
};
