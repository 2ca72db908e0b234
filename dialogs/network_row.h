// network_row.h: the row of both dialogs in which a stream in the network is named and tested.
#pragma once

#include "dialogs/settings/network_source.h"

#include <QWidget>

class Prompter;
class QLineEdit;
class QPushButton;

/// Starts with the default source. Fields are found by the object names "ipAddress", "port" and "testNetwork".
class NetworkRow : public QWidget
{
    Q_OBJECT

public:
    explicit NetworkRow(QWidget* parent = nullptr);

    /// The texts as typed; a port that a program set is not checked.
    NetworkSource source() const;

    void setSource(const NetworkSource& source);

    /// False, told to the user in a box of that title, while a field is empty; the first one gets the focus.
    bool requireComplete(Prompter& prompter, const QString& title);

    /// While a test runs, its button is disabled and says so. Painted at once: the test may block the event loop.
    void setTesting(bool testing);

signals:
    void testRequested();

private:
    QLineEdit* m_address = nullptr;
    QLineEdit* m_port = nullptr;
    QPushButton* m_test = nullptr;
    bool m_returnFocus = false;
};
