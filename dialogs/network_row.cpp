#include "dialogs/network_row.h"

#include "dialogs/settings/field_patterns.h"
#include "ui/form_rows.h"
#include "ui/prompter.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRegularExpressionValidator>

#include <utility>

NetworkRow::NetworkRow(QWidget* parent) : QWidget(parent)
{
    const NetworkSource initial;
    m_address = new QLineEdit(initial.address, this);
    m_address->setObjectName(QStringLiteral("ipAddress"));
    widenFor(m_address, QStringLiteral("255.255.255.255"));

    m_port = new QLineEdit(initial.port, this);
    m_port->setObjectName(QStringLiteral("port"));
    m_port->setValidator(new QRegularExpressionValidator(QRegularExpression(patterns::kPort), m_port));
    widenFor(m_port, QStringLiteral("65535"));

    m_test = new QPushButton(tr("Test Network"), this);
    m_test->setObjectName(QStringLiteral("testNetwork"));
    padSides(m_test);
    connect(m_test, &QPushButton::clicked, this, &NetworkRow::testRequested);

    auto* layout = new QHBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(makeLabelFor(m_address, tr("IP Address:")));
    layout->addWidget(m_address, 3);
    layout->addWidget(makeLabelFor(m_port, tr("Port:")));
    layout->addWidget(m_port, 1);
    layout->addWidget(m_test);
    setFocusProxy(m_address);
}

NetworkSource NetworkRow::source() const
{
    return {m_address->displayText(), m_port->text()};
}

void NetworkRow::setSource(const NetworkSource& source)
{
    m_address->setText(source.address);
    m_port->setText(source.port);
}

bool NetworkRow::requireComplete(Prompter& prompter, const QString& title)
{
    if (source().isComplete())
        return true;
    prompter.warning(window(), title, incompleteNetworkText());
    (m_address->displayText().isEmpty() ? m_address : m_port)->setFocus();
    return false;
}

void NetworkRow::setTesting(bool testing)
{
    if (testing)
        m_returnFocus = window()->focusWidget() == m_test; // disabling it hands the focus on
    m_test->setEnabled(!testing);
    m_test->setText(testing ? tr("Testing...") : tr("Test Network"));
    m_test->repaint();
    if (!testing && std::exchange(m_returnFocus, false))
        m_test->setFocus();
}
