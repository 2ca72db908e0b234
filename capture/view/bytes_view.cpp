#include "capture/view/bytes_view.h"

#include "capture/decode/hex_text.h"
#include "ui/fixed_font.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>

#include <algorithm>

namespace {

constexpr int kLineBytes = 16;
constexpr int kHexBegin = 8;                               // letters before the first pair of digits
constexpr int kTextBegin = kHexBegin + 3 * kLineBytes + 1; // letters before the first byte as text
constexpr int kLineLetters = kTextBegin + kLineBytes;
constexpr int kMargin = 4; // px

QChar letterOf(char byte)
{
    return byte >= 0x20 && byte < 0x7F ? QLatin1Char(byte) : QLatin1Char('.');
}

} // namespace

int BytesView::Section::lineCount() const
{
    return bytes.isEmpty() ? 0 : 1 + (bytes.size() + kLineBytes - 1) / kLineBytes;
}

BytesView::BytesView(QWidget* parent) : QAbstractScrollArea(parent)
{
    setFocusPolicy(Qt::StrongFocus);
    viewport()->setBackgroundRole(QPalette::Base);
    viewport()->setCursor(Qt::IBeamCursor);
    setContextMenuPolicy(Qt::ActionsContextMenu);
    auto* copy = new QAction(tr("&Copy Bytes"), this);
    copy->setShortcut(QKeySequence::Copy);
    copy->setShortcutContext(Qt::WidgetShortcut);
    connect(copy, &QAction::triggered, this, [this] { QApplication::clipboard()->setText(markedText()); });
    addAction(copy);
    measure();
}

void BytesView::showPacket(const UsbIPPacketInfo& packet)
{
    const auto title = [](const QString& text, const QByteArray& bytes) { return text.arg(bytes.size()); };
    m_sections = {{
        {ByteSpan::Part::Setup, title(tr("Setup (%1 bytes)"), packet.setupData), packet.setupData},
        {ByteSpan::Part::Data, title(tr("Data (%1 bytes)"), packet.data), packet.data},
        {ByteSpan::Part::Header, title(tr("USB/IP Header (%1 bytes)"), packet.usbipHeader), packet.usbipHeader},
    }};
    int line = 0;
    for (Section& section : m_sections) {
        section.bytes.detach(); // what came may refer to memory of a store
        section.firstLine = line;
        line += section.lineCount();
    }
    m_marked = {};
    updateScrollBars();
    verticalScrollBar()->setValue(0);
    viewport()->update();
}

void BytesView::mark(const ByteSpan& bytes)
{
    m_marked = bytes;
    viewport()->update();
    const Section* section = sectionOf(bytes.part);
    if (!section || bytes.size == 0)
        return;
    const int first = section->firstLine + 1 + bytes.offset / kLineBytes;
    const int last = section->firstLine + 1 + (bytes.offset + bytes.size - 1) / kLineBytes;
    const int page = std::max(verticalScrollBar()->pageStep(), 1);
    const int top = verticalScrollBar()->value();
    if (first < top || last - first >= page)
        verticalScrollBar()->setValue(std::max(first - 1, 0)); // the title or the line before is seen too
    else if (last >= top + page)
        verticalScrollBar()->setValue(last - page + 1);
}

QString BytesView::markedText() const
{
    const Section* section = sectionOf(m_marked.size > 0 ? m_marked.part : ByteSpan::Part::Data);
    if (!section)
        return {};
    const QByteArray bytes = m_marked.size > 0 ? section->bytes.mid(m_marked.offset, m_marked.size) : section->bytes;
    return hexText(bytes, bytes.size());
}

const BytesView::Section* BytesView::sectionOf(ByteSpan::Part part) const
{
    const auto* found = std::find_if(m_sections.begin(), m_sections.end(), [part](const Section& section) {
        return section.part == part && !section.bytes.isEmpty();
    });
    return found == m_sections.end() ? nullptr : found;
}

const BytesView::Section* BytesView::sectionAtLine(int line) const
{
    const auto* found = std::find_if(m_sections.begin(), m_sections.end(), [line](const Section& section) {
        return line >= section.firstLine && line < section.firstLine + section.lineCount();
    });
    return found == m_sections.end() ? nullptr : found;
}

int BytesView::lineCount() const
{
    return m_sections.back().firstLine + m_sections.back().lineCount();
}

QString BytesView::lineText(int line) const
{
    const Section* section = sectionAtLine(line);
    if (!section || line == section->firstLine)
        return section ? section->title : QString();
    const int offset = (line - section->firstLine - 1) * kLineBytes;
    const QByteArray bytes = section->bytes.mid(offset, kLineBytes);
    QString text = QStringLiteral("%1").arg(offset, 4, 16, QLatin1Char('0')).leftJustified(kHexBegin);
    text += QString::fromLatin1(bytes.toHex(' '));
    text = text.leftJustified(std::max(kTextBegin, text.size() + 2));
    for (const char byte : bytes)
        text += letterOf(byte);
    return text;
}

int BytesView::letterX(int letter) const
{
    return kMargin + letter * m_letterWidth - horizontalScrollBar()->value();
}

ByteSpan BytesView::byteAt(const QPoint& point) const
{
    const int line = verticalScrollBar()->value() + point.y() / m_lineHeight;
    const Section* section = sectionAtLine(line);
    if (!section || line == section->firstLine || point.y() < 0)
        return {};
    const int letter = (point.x() - letterX(0)) / m_letterWidth;
    const int place = letter >= kTextBegin ? letter - kTextBegin : (letter - kHexBegin) / 3;
    const int offset = (line - section->firstLine - 1) * kLineBytes + place;
    if (letter < kHexBegin || place >= kLineBytes || offset >= section->bytes.size())
        return {};
    return {section->part, offset, 1};
}

QRect BytesView::rectOf(ByteSpan::Part part, int offset) const
{
    const Section* section = sectionOf(part);
    if (!section)
        return {};
    const int line = section->firstLine + 1 + offset / kLineBytes - verticalScrollBar()->value();
    return {letterX(kHexBegin + 3 * (offset % kLineBytes)), line * m_lineHeight, 2 * m_letterWidth, m_lineHeight};
}

QSize BytesView::sizeHint() const
{
    const int bar = verticalScrollBar()->sizeHint().width();
    return {2 * kMargin + kLineLetters * m_letterWidth + bar + 2 * frameWidth(), 8 * m_lineHeight};
}

void BytesView::measure()
{
    const QFontMetrics metrics(fixedFont());
    m_letterWidth = metrics.horizontalAdvance(QLatin1Char('0'));
    m_lineHeight = std::max(metrics.height(), fontMetrics().height()) + 1;
    updateGeometry();
    updateScrollBars();
}

void BytesView::updateScrollBars()
{
    const int page = std::max(viewport()->height() / m_lineHeight, 1);
    verticalScrollBar()->setPageStep(page);
    verticalScrollBar()->setRange(0, std::max(0, lineCount() - page));
    horizontalScrollBar()->setPageStep(viewport()->width());
    horizontalScrollBar()->setSingleStep(m_letterWidth);
    horizontalScrollBar()->setRange(0, std::max(0, 2 * kMargin + kLineLetters * m_letterWidth - viewport()->width()));
}

void BytesView::resizeEvent(QResizeEvent*)
{
    updateScrollBars();
}

void BytesView::changeEvent(QEvent* event)
{
    QAbstractScrollArea::changeEvent(event);
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange)
        measure();
}

void BytesView::mousePressEvent(QMouseEvent* event)
{
    const ByteSpan byte = byteAt(event->pos());
    if (event->button() == Qt::LeftButton && byte.size > 0)
        emit byteClicked(byte);
}

void BytesView::paintMark(QPainter& painter, const Section& section, int line, int y) const
{
    const int offset = (line - section.firstLine - 1) * kLineBytes;
    const int begin = std::max(m_marked.offset - offset, 0);
    const int end = std::min(m_marked.offset + m_marked.size - offset, kLineBytes);
    if (m_marked.part != section.part || begin >= end)
        return;
    painter.fillRect(letterX(kHexBegin + 3 * begin), y, (3 * (end - begin) - 1) * m_letterWidth, m_lineHeight,
                     palette().highlight());
    painter.fillRect(letterX(kTextBegin + begin), y, (end - begin) * m_letterWidth, m_lineHeight,
                     palette().highlight());
}

void BytesView::paintEvent(QPaintEvent* event)
{
    QPainter painter(viewport());
    QFont title = font();
    title.setBold(true);
    const QFont fixed = fixedFont();
    const int ascent = std::max(QFontMetrics(fixed).ascent(), fontMetrics().ascent());
    const int first = event->rect().top() / m_lineHeight;
    const int last = event->rect().bottom() / m_lineHeight;
    for (int row = first; row <= last; ++row) {
        const int line = verticalScrollBar()->value() + row;
        const Section* section = sectionAtLine(line);
        if (!section)
            break;
        const int y = row * m_lineHeight;
        const QString text = lineText(line);
        painter.setFont(line == section->firstLine ? title : fixed);
        painter.setPen(palette().color(QPalette::Text));
        if (line == section->firstLine) {
            painter.drawText(letterX(0), y + ascent, text);
            continue;
        }
        paintMark(painter, *section, line, y);
        const int offset = (line - section->firstLine - 1) * kLineBytes;
        for (int letter = 0; letter < text.size(); ++letter) { // each in its place, whatever the font does
            const int place = letter >= kTextBegin ? letter - kTextBegin : (letter - kHexBegin) / 3;
            const bool marked = letter >= kHexBegin && m_marked.contains(section->part, offset + place);
            painter.setPen(palette().color(marked ? QPalette::HighlightedText : QPalette::Text));
            if (!text[letter].isSpace())
                painter.drawText(letterX(letter), y + ascent, text.mid(letter, 1));
        }
    }
}
