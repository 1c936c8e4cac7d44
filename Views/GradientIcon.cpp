#include "GradientIcon.h"

#include <QImage>
#include <QLinearGradient>
#include <QPainter>
#include <QQuickWindow>
#include <QSvgRenderer>

using namespace Qt::StringLiterals;

namespace {

// The file behind a url: resources ("qrc:/x") as ":/x", local files as their path.
QString filePath(const QUrl &url)
{
    if (url.scheme() == u"qrc"_s)
        return u':' + url.path();
    return url.isLocalFile() ? url.toLocalFile() : url.toString();
}

} // namespace

GradientIcon::GradientIcon(QQuickItem *parent)
    : QQuickPaintedItem(parent)
{
    setAntialiasing(true);
    for (const auto changed :
        { &GradientIcon::sourceChanged, &GradientIcon::topColorChanged, &GradientIcon::bottomColorChanged })
        connect(this, changed, this, [this] { update(); });
}

void GradientIcon::paint(QPainter *painter)
{
    QSvgRenderer svg(filePath(m_source));
    if (!svg.isValid() || width() <= 0 || height() <= 0)
        return;
    // The drawing's box inside the item: its aspect ratio kept, centred.
    QSizeF drawn = svg.defaultSize();
    drawn.scale(size(), Qt::KeepAspectRatio);
    const QRectF box(QPointF((width() - drawn.width()) / 2, (height() - drawn.height()) / 2), drawn);

    // The symbol is drawn into an image of its own, and the gradient replaces its colour where it has
    // ink (SourceIn keeps the symbol's coverage, so its edges stay antialiased).
    const qreal scale = window() ? window()->effectiveDevicePixelRatio() : 1.0;
    QImage image((size() * scale).toSize(), QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(scale);
    image.fill(Qt::transparent);
    QPainter layer(&image);
    layer.setRenderHint(QPainter::Antialiasing);
    svg.render(&layer, box);
    layer.setCompositionMode(QPainter::CompositionMode_SourceIn);
    QLinearGradient gradient(box.topLeft(), box.bottomLeft());
    gradient.setColorAt(0, m_top);
    gradient.setColorAt(1, m_bottom);
    layer.fillRect(box, gradient);
    layer.end();

    painter->drawImage(QRectF(QPointF(), size()), image);
}
