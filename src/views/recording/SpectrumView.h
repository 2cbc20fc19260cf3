// The spectrum bars, mirrored around the middle: the highest column stands there, the lowest at both outer ends.
//
// Threads: main.
#pragma once

#include "views/controls/SightWatch.h"

#include <QPixmap>
#include <QWidget>
#include <array>

class SpectrumView;

/// Where the bars get their heights from.
class SpectrumViewDataSource {
public:
    virtual int numberOfColumnsInSpectrumView(SpectrumView &spectrumView) = 0;
    /// From 0 to 16.
    virtual int objectValueForColumnIndex(SpectrumView &spectrumView, int index) = 0;

protected:
    ~SpectrumViewDataSource() = default;
};

/// One bar: an empty one that is filled from the bottom.
class SpectrumItem {
public:
    void setFrame(const QRect &frame) { frame_ = frame; }
    const QRect &frame() const { return frame_; }
    /// False if it has been that already.
    bool setEnergy(uint32_t energy);
    uint32_t energy() const { return energy_; }
    /// The filled part, in the item's own coordinates with the origin at its bottom left.
    const QRect &filterFrame() const { return filterFrame_; }

private:
    QRect frame_;
    QRect filterFrame_;
    uint32_t energy_ = 0;
};

class SpectrumView : public QWidget {
    Q_OBJECT
public:
    static constexpr int kColumns = 20;
    using Items = std::array<SpectrumItem, kColumns>;

    explicit SpectrumView(QWidget *parent);

    void setDataSource(SpectrumViewDataSource *dataSource) { dataSource_ = dataSource; }
    /// Asks for all heights anew.
    void reloadData();

    /// From the middle outwards.
    const Items &energyLeftArray() const { return energyLeftArray_; }
    const Items &energyRightArray() const { return energyRightArray_; }

    bool isInSight() const { return sight_.isInSight(); }

signals:
    /// The bars came into sight or went out of it.
    void sightChanged();

protected:
    void paintEvent(QPaintEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    void frameDidChange();
    void paintItem(QPainter &painter, const SpectrumItem &item) const;

    SpectrumViewDataSource *dataSource_ = nullptr;
    Items energyLeftArray_;
    Items energyRightArray_;
    SightWatch sight_{*this};
};
