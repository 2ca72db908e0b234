// program_user.cpp: a plug-in of Qt that acts for the user inside a program which another one has started.
#include "tests/support/started_program.h"

#include <QAbstractButton>
#include <QApplication>
#include <QDialogButtonBox>
#include <QFile>
#include <QGenericPlugin>
#include <QMessageBox>
#include <QMetaEnum>
#include <QTimer>
#include <QtTest>

namespace {

/// Answers one message box after the other and closes the main window as soon as it is there. What it sees goes into
/// kSeenFile of the folder, a line and a picture each.
class ProgramUser final : public QObject
{
public:
    explicit ProgramUser(const QStringList& answers)
        : m_answers(answers)
        , m_folder(qEnvironmentVariable(kUserFolderVariable) + QLatin1Char('/'))
    {
        connect(&m_look, &QTimer::timeout, this, &ProgramUser::look);
        m_look.start(10);
    }

private:
    void look()
    {
        if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget())) {
            if (box->isVisible() && hasItsSize(*box) && !m_answers.isEmpty())
                answer(*box, m_answers.takeFirst());
            return;
        }
        const QWidgetList windows = QApplication::topLevelWidgets();
        for (QWidget* window : windows) {
            if (!window->isVisible() || window->metaObject()->className() != QByteArray("MainWindow"))
                continue;
            m_look.stop();
            note(*window, QStringLiteral("window ") + window->windowTitle());
            window->close();
        }
    }

    /// A window takes its size a little after it has become visible.
    bool hasItsSize(const QWidget& window)
    {
        constexpr int kMostWaits = 500;
        const bool fits = window.size().expandedTo(window.minimumSizeHint()) == window.size();
        m_waits = fits ? 0 : m_waits + 1;
        return fits || m_waits > kMostWaits;
    }

    void answer(QMessageBox& box, const QString& text)
    {
        note(box, box.windowTitle() + QStringLiteral(": ") + box.text());
        const auto names = QMetaEnum::fromType<QDialogButtonBox::StandardButtons>();
        const QList<QAbstractButton*> buttons = box.buttons();
        for (QAbstractButton* button : buttons) {
            if (text == QLatin1String(names.valueToKey(box.standardButton(button))))
                return click(*button);
        }
        box.close();
    }

    /// By the mouse, so that a button which a person could not reach is not reached here either.
    static void click(const QAbstractButton& button)
    {
        QWidget* window = button.window();
        const QPoint centre = button.mapTo(window, button.rect().center());
        QTest::mouseClick(window->windowHandle(), Qt::LeftButton, {}, centre);
    }

    void note(QWidget& window, const QString& line)
    {
        window.grab().save(m_folder + QString::fromLatin1(kSeenPicture).arg(++m_seen));
        QFile file(m_folder + QString::fromLatin1(kSeenFile));
        if (file.open(QIODevice::WriteOnly | QIODevice::Append))
            file.write(line.toUtf8() + '\n');
    }

    QStringList m_answers;
    const QString m_folder;
    int m_seen = 0;
    int m_waits = 0;
    QTimer m_look;
};

class ProgramUserPlugin final : public QGenericPlugin
{
    Q_OBJECT
    Q_PLUGIN_METADATA(IID QGenericPluginFactoryInterface_iid FILE "program_user.json")

public:
    QObject* create(const QString&, const QString& answers) override
    {
        return new ProgramUser(answers.split(QLatin1Char('+'), Qt::SkipEmptyParts));
    }
};

} // namespace

#include "program_user.moc"
