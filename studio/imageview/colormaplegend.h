#pragma once

#include <QWidget>

class ColorMap;

/// The colour scale beside a depth image: the map's colours from the minimum at the bottom to the maximum at the top,
/// with up to five depths in millimetres, as many as have room. Colours stand at even distances, whatever depths they
/// belong to. GUI thread.
class ColorMapLegend : public QWidget {
    Q_OBJECT

public:
    /// `map` outlives the legend; call update() after changing it.
    explicit ColorMapLegend(const ColorMap& map, QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void paintBar(QPainter& painter) const;
    void paintTicks(QPainter& painter) const;
    void paintLabels(QPainter& painter) const;

    const ColorMap& map_;
};
