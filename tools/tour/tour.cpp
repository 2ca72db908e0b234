#include "tools/tour/tour.h"

#include "tools/tour/expected_text.h"

#include <QAbstractAnimation>
#include <QApplication>
#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMessageBox>
#include <QPainter>
#include <QPointer>
#include <QPushButton>
#include <QSaveFile>

#include <algorithm>
#include <cstdio>

namespace {

const QColor kDesktopColour(0xb8, 0xc4, 0xd0);
constexpr int kDesktopMargin = 24;
constexpr int kLongestFading = 1000; // Milliseconds.

/// Whether the style is on its way from one state of a widget to the next, which would be what a picture shows.
bool isFading(const QWidget& window)
{
    const auto animations = window.findChildren<QAbstractAnimation*>();
    return std::any_of(animations.begin(), animations.end(), [](const QAbstractAnimation* animation) {
        return animation->state() == QAbstractAnimation::Running && animation->totalDuration() > 0;
    });
}

} // namespace

Tour::Tour(const QString& folder, Language language) : m_folder(folder), m_language(language)
{
    if (!m_folder.mkpath(QStringLiteral(".")))
        throw StepFailure("cannot make the folder " + folder.toStdString());
    QObject::connect(&m_poll, &QTimer::timeout, &m_poll, [this] { reactToWindow(); });
}

void Tour::step(const QString& name, const std::function<QString()>& body)
{
    const QString outerPicture = std::exchange(m_picture, QString());
    const int number = m_steps.size() + 1;
    m_picture = QStringLiteral("%1-%2.png").arg(number, 2, 10, QLatin1Char('0')).arg(name);
    m_steps.append(QJsonObject()); // keeps the place: a step may open a window that is a step of its own

    QElapsedTimer clock;
    clock.start();
    bool ok = true;
    QString detail;
    try {
        const std::size_t reactionsBefore = m_reactions.size();
        detail = body();
        require(m_reactions.size() <= reactionsBefore, QStringLiteral("a window never opened"));
    } catch (const std::exception& failure) {
        ok = false;
        ++m_failed;
        detail = QString::fromUtf8(failure.what());
    }
    const QString file = m_folder.exists(m_picture) ? m_picture : QString();
    m_steps[number - 1] = QJsonObject{{QStringLiteral("name"), name},
                                      {QStringLiteral("ok"), ok},
                                      {QStringLiteral("seconds"), double(clock.elapsed()) / 1000.0},
                                      {QStringLiteral("picture"), file},
                                      {QStringLiteral("detail"), detail}};
    std::printf("%s %-28s %-34s %s\n", ok ? "ok    " : "FAILED", qPrintable(name), qPrintable(file),
                qPrintable(detail));
    std::fflush(stdout);
    m_picture = outerPicture;
}

void Tour::require(bool condition, const QString& what)
{
    if (!condition)
        throw StepFailure(what.toStdString());
}

void Tour::waitUntil(const std::function<bool()>& condition, const QString& what)
{
    const QDeadlineTimer deadline(60000);
    while (!condition()) {
        require(!deadline.hasExpired(), QStringLiteral("waited in vain: ") + what);
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    }
}

QString Tour::said(const char* english) const
{
    return expectedBeginning(QString::fromLatin1(english), m_language);
}

void Tour::picture(QWidget& widget)
{
    QCoreApplication::processEvents();
    const QDeadlineTimer limit(kLongestFading);
    while (isFading(widget) && !limit.hasExpired())
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
    picture(widget.grab());
}

void Tour::picture(const QPixmap& shot)
{
    const qreal ratio = shot.devicePixelRatio();
    QPixmap canvas(shot.size() + 2 * QSize(kDesktopMargin, kDesktopMargin) * ratio);
    canvas.setDevicePixelRatio(ratio);
    canvas.fill(kDesktopColour);
    QPainter(&canvas).drawPixmap(kDesktopMargin, kDesktopMargin, shot);
    require(canvas.save(m_folder.filePath(m_picture)), QStringLiteral("cannot save the picture ") + m_picture);
}

void Tour::whenWindowOpens(const QString& name, const std::function<QString(QWidget&)>& react)
{
    m_reactions.push_back({name, react});
    m_poll.start(10);
}

void Tour::reactToWindow()
{
    QWidget* window = QApplication::activePopupWidget();
    if (!window)
        window = QApplication::activeModalWidget();
    if (!window || !window->isVisible() || m_reactions.empty())
        return;
    // A window takes its size a little after it has become visible.
    constexpr int kMostWaits = 500;
    const QSize needed = window->minimumSizeHint();
    if (window->size().expandedTo(needed) != window->size() && ++m_waits < kMostWaits)
        return;
    m_waits = 0;
    m_poll.stop();
    const Reaction next = m_reactions.front();
    m_reactions.pop_front();
    const QPointer<QWidget> guard(window);
    step(next.name, [&] { return next.react(*window); });
    if (guard && guard->isVisible())
        guard->close();
    if (!m_reactions.empty())
        m_poll.start(10);
}

void Tour::answerBox(const QString& name, const QString& title, const QString& text, QMessageBox::StandardButton button)
{
    whenWindowOpens(name, [this, title, text, button](QWidget& window) {
        auto* box = qobject_cast<QMessageBox*>(&window);
        require(box, QStringLiteral("the window is no message box"));
        picture(window);
        require(box->windowTitle() == expectedText(title, m_language),
                QStringLiteral("unexpected title: ") + box->windowTitle());
        require(box->text() == expectedText(text, m_language), QStringLiteral("unexpected text: ") + box->text());
        require(box->button(button), QStringLiteral("the button is missing"));
        box->button(button)->click();
        return QStringLiteral("\"%1\", answered with %2")
            .arg(title, box->button(button)->text().remove(QLatin1Char('&')));
    });
}

int Tour::finish() const
{
    const QJsonObject report{{QStringLiteral("steps"), m_steps}, {QStringLiteral("failed"), m_failed}};
    QSaveFile file(m_folder.filePath(QStringLiteral("report.json")));
    if (!file.open(QIODevice::WriteOnly) || file.write(QJsonDocument(report).toJson()) < 0 || !file.commit())
        return -1;
    return m_failed;
}
