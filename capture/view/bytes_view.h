// bytes_view.h: the bytes of a packet in hexadecimal and as text.
#pragma once

#include "capture/channel/capture_types.h"
#include "capture/decode/detail_row.h"

#include <QAbstractScrollArea>

#include <array>

/// Shows all setup bytes, data and USB/IP header bytes of a packet, each part below a line that names it, sixteen bytes
/// a line. Only lines that are seen cost anything. Bytes can be marked.
class BytesView final : public QAbstractScrollArea
{
    Q_OBJECT

public:
    explicit BytesView(QWidget* parent = nullptr);

    void showPacket(const UsbIPPacketInfo& packet);
    void showNothing() { showPacket({}); }
    /// Marks these bytes, or none, and scrolls to them.
    void mark(const ByteSpan& bytes);
    const ByteSpan& marked() const { return m_marked; }
    /// The marked bytes as hexadecimal pairs; without any, the data.
    QString markedText() const;

    int lineCount() const;
    /// "0010  55 53 ...  US..", or the name of a part.
    QString lineText(int line) const;
    /// A byte, of size 1; of no part beside the bytes.
    ByteSpan byteAt(const QPoint& point) const;
    /// Where a byte's pair of digits is.
    QRect rectOf(ByteSpan::Part part, int offset) const;

    QSize sizeHint() const override;

signals:
    void byteClicked(ByteSpan byte);

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    struct Section
    {
        ByteSpan::Part part = ByteSpan::Part::None;
        QString title;
        QByteArray bytes;
        int firstLine = 0; // of its title
        int lineCount() const;
    };

    const Section* sectionOf(ByteSpan::Part part) const;
    const Section* sectionAtLine(int line) const;
    void measure();
    void updateScrollBars();
    void paintMark(QPainter& painter, const Section& section, int line, int y) const;
    int letterX(int letter) const;

    std::array<Section, 3> m_sections;
    ByteSpan m_marked;
    int m_lineHeight = 1;  // px
    int m_letterWidth = 1; // px
};
