#pragma once

#include <QColor>
#include <QQuickPaintedItem>
#include <QUrl>
#include <QtQml/qqmlregistration.h>

/// A single-colour SVG symbol filled with a vertical gradient, from `topColor` at the top edge of the
/// drawing to `bottomColor` at its bottom edge. Painted on the CPU, so it draws the same under every scene graph
/// backend (the software one included). The drawing keeps its aspect ratio, centred in the item.
class GradientIcon : public QQuickPaintedItem
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QUrl source READ source WRITE setSource NOTIFY sourceChanged)
    Q_PROPERTY(QColor topColor READ topColor WRITE setTopColor NOTIFY topColorChanged)
    Q_PROPERTY(QColor bottomColor READ bottomColor WRITE setBottomColor NOTIFY bottomColorChanged)

public:
    explicit GradientIcon(QQuickItem *parent = nullptr);

    QUrl source() const { return m_source; }
    void setSource(const QUrl &source);
    QColor topColor() const { return m_top; }
    void setTopColor(const QColor &color);
    QColor bottomColor() const { return m_bottom; }
    void setBottomColor(const QColor &color);

    void paint(QPainter *painter) override;

signals:
    void sourceChanged();
    void topColorChanged();
    void bottomColorChanged();

private:
    QUrl m_source;
    QColor m_top;
    QColor m_bottom;
};
