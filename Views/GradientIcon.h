#pragma once

#include <QColor>
#include <QQuickPaintedItem>
#include <QUrl>
#include <QtQml/qqmlregistration.h>

/// A single-colour SVG symbol filled with a vertical gradient, from `top` at the top edge of the drawing
/// to `bottom` at its bottom edge. Painted on the CPU, so it draws the same under every scene graph
/// backend (the software one included). The drawing keeps its aspect ratio, centred in the item.
class GradientIcon : public QQuickPaintedItem
{
    Q_OBJECT
    QML_ELEMENT
    Q_PROPERTY(QUrl source READ source WRITE setSource NOTIFY sourceChanged)
    Q_PROPERTY(QColor top READ top WRITE setTop NOTIFY topChanged)
    Q_PROPERTY(QColor bottom READ bottom WRITE setBottom NOTIFY bottomChanged)

public:
    explicit GradientIcon(QQuickItem *parent = nullptr);

    QUrl source() const { return m_source; }
    void setSource(const QUrl &source);
    QColor top() const { return m_top; }
    void setTop(const QColor &color);
    QColor bottom() const { return m_bottom; }
    void setBottom(const QColor &color);

    void paint(QPainter *painter) override;

signals:
    void sourceChanged();
    void topChanged();
    void bottomChanged();

private:
    QUrl m_source;
    QColor m_top;
    QColor m_bottom;
};
