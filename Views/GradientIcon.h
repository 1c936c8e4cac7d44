#pragma once

#include <QColor>
#include <QProperty>
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
    Q_PROPERTY(QUrl source READ source WRITE setSource NOTIFY sourceChanged BINDABLE bindableSource)
    Q_PROPERTY(QColor topColor READ topColor WRITE setTopColor NOTIFY topColorChanged BINDABLE bindableTopColor)
    Q_PROPERTY(
        QColor bottomColor READ bottomColor WRITE setBottomColor NOTIFY bottomColorChanged BINDABLE bindableBottomColor)

public:
    explicit GradientIcon(QQuickItem *parent = nullptr);

    QUrl source() const { return m_source; }
    void setSource(const QUrl &source) { m_source = source; }
    QBindable<QUrl> bindableSource() { return &m_source; }
    QColor topColor() const { return m_top; }
    void setTopColor(const QColor &color) { m_top = color; }
    QBindable<QColor> bindableTopColor() { return &m_top; }
    QColor bottomColor() const { return m_bottom; }
    void setBottomColor(const QColor &color) { m_bottom = color; }
    QBindable<QColor> bindableBottomColor() { return &m_bottom; }

    void paint(QPainter *painter) override;

signals:
    void sourceChanged();
    void topColorChanged();
    void bottomColorChanged();

private:
    // Each announces a change, and only a change, through its signal; every change repaints.
    Q_OBJECT_BINDABLE_PROPERTY(GradientIcon, QUrl, m_source, &GradientIcon::sourceChanged)
    Q_OBJECT_BINDABLE_PROPERTY(GradientIcon, QColor, m_top, &GradientIcon::topColorChanged)
    Q_OBJECT_BINDABLE_PROPERTY(GradientIcon, QColor, m_bottom, &GradientIcon::bottomColorChanged)
};
