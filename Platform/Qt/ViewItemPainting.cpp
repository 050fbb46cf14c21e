// The half of an item that draws: a plain rectangle where that is enough, else a picture painted here, pixel by pixel
// of the screen, so that corners and circles are round under every renderer and scale.

#include "Platform/Qt/ViewItem_p.h"

#include <QPainter>
#include <QPainterPath>
#include <QQuickWindow>
#include <QSGImageNode>
#include <QSGRectangleNode>
#include <cmath>

namespace kova {

namespace {

constexpr double figureLineWidth = 1.5;

} // namespace

QSGNode* ViewItem::updatePaintNode(QSGNode* before, UpdatePaintNodeData*)
{
    const bool isTextured
        = m_paintedText || m_shape.image || m_shape.figure || m_shape.cornerRadius > 0 || m_shape.isOval;
    const bool isSeen
        = m_paintedText || m_shape.image || m_shape.figure || m_shape.fill.alpha() > 0 || m_shape.stroke.alpha() > 0;
    if (!isSeen || width() <= 0 || height() <= 0 || m_isNodeTextured != isTextured) {
        delete before;
        before = nullptr;
    }
    m_isNodeTextured = isTextured;
    if (!isSeen || width() <= 0 || height() <= 0)
        return nullptr;

    if (!isTextured) {
        auto* const node = before ? static_cast<QSGRectangleNode*>(before) : window()->createRectangleNode();
        node->setRect(boundingRect());
        node->setColor(m_shape.fill);
        return node;
    }

    auto* const node = before ? static_cast<QSGImageNode*>(before) : window()->createImageNode();
    if (!before || m_isPaintNeeded) {
        const double ratio = paintRatio();
        const QSize pixels {qCeil(width() * ratio), qCeil(height() * ratio)};
        node->setTexture(window()->createTextureFromImage(paint(pixels, ratio), QQuickWindow::TextureHasAlphaChannel));
        node->setOwnsTexture(true);
        node->setFiltering(QSGTexture::Linear);
        // A whole number of pixels, so that none is blended with its neighbour.
        node->setRect(0, 0, pixels.width() / ratio, pixels.height() / ratio);
        m_isPaintNeeded = false;
    }
    return node;
}

QImage ViewItem::paint(QSize pixels, double ratio) const
{
    QImage canvas {pixels, QImage::Format_ARGB32_Premultiplied};
    canvas.fill(Qt::transparent);
    QPainter painter {&canvas};
    painter.setRenderHints(QPainter::Antialiasing | QPainter::SmoothPixmapTransform);
    painter.scale(ratio, ratio);

    // An outline is drawn half outside of the shape, so the item is larger by a point all around.
    const double margin = m_shape.stroke.alpha() > 0 ? outlineMargin : 0;
    const auto area = QRectF {0, 0, width(), height()}.adjusted(margin, margin, -margin, -margin);
    QPainterPath outline;
    if (m_shape.isOval)
        outline.addEllipse(area);
    else
        outline.addRoundedRect(area, m_shape.cornerRadius, m_shape.cornerRadius);
    painter.fillPath(outline, m_shape.fill);
    if (m_shape.stroke.alpha() > 0)
        painter.strokePath(outline, QPen {m_shape.stroke, 1});

    if (m_shape.image) {
        const auto& image = *m_shape.image;
        auto size = QSizeF {image.size()}.scaled(area.size(), m_shape.imageMode);
        // Shrunk with all its pixels counted first: the painter alone would skip most of them.
        const auto target = (size * ratio).toSize();
        const auto drawn = target.width() < image.width() && !target.isEmpty()
            ? image.scaled(target, Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
            : image;
        QRectF place {QPointF {}, size};
        place.moveCenter(area.center());
        painter.setPen(Qt::NoPen);
        QBrush brush {drawn};
        brush.setTransform(QTransform::fromTranslate(place.x(), place.y())
                .scale(place.width() / drawn.width(), place.height() / drawn.height()));
        QPainterPath seen;
        seen.addRect(place);
        painter.fillPath(m_shape.cornerRadius > 0 ? outline.intersected(seen) : seen, brush);
    }

    if (m_paintedText)
        painter.drawImage(QPointF {}, m_paintedText->image());

    if (const auto& figure = m_shape.figure) {
        painter.translate(figure->place.topLeft());
        painter.strokePath(
            figure->lines, QPen {figure->color, figureLineWidth, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin});
    }
    return canvas;
}

} // namespace kova
