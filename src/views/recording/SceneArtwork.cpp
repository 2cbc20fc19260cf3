#include "views/recording/SceneArtwork.h"

#include "views/controls/Look.h"
#include "views/controls/Sketch.h"

#include <QEasingCurve>
#include <QPainter>
#include <QRegularExpression>
#include <QtMath>
#include <array>
#include <functional>

namespace {

constexpr qreal kBoldStroke = 2.2; // what stands alone on the page

/// From 0 at `from` to 1 at `to`.
qreal part(qreal t, qreal from, qreal to) { return qBound(0.0, (t - from) / (to - from), 1.0); }

QColor faded(LookColour colour, qreal opacity) {
    QColor result = lookColour(colour);
    result.setAlphaF(static_cast<float>(opacity));
    return result;
}

void stroke(QPainter &painter, const QPainterPath &path, const QPen &pen, const QBrush &fill = Qt::NoBrush) {
    painter.setPen(pen);
    painter.setBrush(fill);
    painter.drawPath(path);
}

/// What is too small to waver.
QPainterPath disc(QPointF middle, qreal radius) {
    QPainterPath path;
    path.addEllipse(middle, radius, radius * 0.96);
    return path;
}

QPainterPath curve(QPointF start, std::initializer_list<std::array<QPointF, 3>> parts) {
    QPainterPath path(start);
    for (const auto &[first, second, end] : parts)
        path.cubicTo(first, second, end);
    return path;
}

// The microphone, 106 x 141

constexpr QSize kMicrophoneSize(106, 141);
constexpr int kMicrophoneFrames = 36;
constexpr QPointF kHeadFoot(53, 91); // the head grows from here
constexpr QPointF kRippleHeart(53, 31);

void drawHead(QPainter &painter, qreal breath) {
    // Drawn once and then stretched, so that the line doesn't shiver from frame to frame.
    const QTransform stretch = QTransform::fromTranslate(kHeadFoot.x(), kHeadFoot.y())
                                   .scale(1 + 0.09 * breath, 1 + 0.06 * breath)
                                   .translate(-kHeadFoot.x(), -kHeadFoot.y());
    stroke(painter, stretch.map(sketchedRect({25.5, 7, 55, 84}, 23)),
           sketchPen(lookColour(LookColour::Ink), kBoldStroke), lookColour(LookColour::Sheet));
    const QPen thin = sketchPen(lookColour(LookColour::Ink));
    for (const auto &[y, left, right, sag] : {std::array{25.0, 35.0, 71.5, 0.6},
                                              {36.4, 33.8, 72.4, -0.5},
                                              {47.2, 34.6, 71.0, 0.7},
                                              {58.2, 33.6, 72.6, -0.4}})
        stroke(painter,
               stretch.map(curve({left, y}, {{QPointF(left + 12, y + sag), QPointF(right - 12, y - sag),
                                              QPointF(right, y + sag / 2)}})),
               thin);
    // The lamp: out at rest.
    const QPointF lamp = stretch.map(QPointF(53, 74));
    stroke(painter, disc(lamp, 8.5), Qt::NoPen, faded(LookColour::Red, 0.22 * breath));
    stroke(painter, disc(lamp, 4.6), thin, faded(LookColour::Red, breath));
}

void drawStand(QPainter &painter) {
    const QPen pen = sketchPen(lookColour(LookColour::Ink), kBoldStroke);
    stroke(painter,
           curve({13.4, 55}, {{QPointF(13, 66), QPointF(13.6, 79), QPointF(22, 90)},
                              {QPointF(29.5, 100.6), QPointF(41, 105.2), QPointF(53.2, 105)},
                              {QPointF(65.8, 104.9), QPointF(77.4, 99.8), QPointF(84.2, 90.4)},
                              {QPointF(92.4, 79.2), QPointF(93.2, 67), QPointF(92.8, 54.6)}}),
           pen);
    stroke(painter, curve({53, 105}, {{QPointF(53.8, 114), QPointF(52.6, 124), QPointF(53.2, 136)}}), pen);
    stroke(painter,
           curve({26.4, 138.4}, {{QPointF(37, 136.2), QPointF(46, 135.4), QPointF(55, 136)},
                                 {QPointF(64, 136.4), QPointF(71, 137.4), QPointF(80, 138)}}),
           pen);
}

/// Sound that goes out to both sides, `way` from 0 to 1.
void drawRipples(QPainter &painter, qreal way, qreal strength) {
    const qreal radius = 37 + 13 * way;
    const QRectF circle(kRippleHeart.x() - radius, kRippleHeart.y() - radius, 2 * radius, 2 * radius);
    const qreal reach = 19 + 5 * way; // degrees to each side
    painter.setPen(sketchPen(faded(LookColour::Teal, strength * qSin(M_PI * way)), 1.9));
    painter.setBrush(Qt::NoBrush);
    for (const qreal middle : {0.0, 180.0})
        painter.drawArc(circle, qRound((middle - reach) * 16), qRound(2 * reach * 16));
}

void drawMicrophone(QPainter &painter, int frame) {
    const qreal phase = static_cast<qreal>(frame) / kMicrophoneFrames;
    drawRipples(painter, phase * 2 - qFloor(phase * 2), phase < 0.5 ? 1 : 0.55);
    drawStand(painter);
    drawHead(painter, (1 - qCos(2 * M_PI * phase)) / 2);
}

// The cover, 220 x 220

constexpr QSize kCoverSize(220, 220);
constexpr int kCoverFrames = 21;
constexpr QSizeF kSleeve(118, 100);
constexpr qreal kDiscRadius = 43;

/// A quarter note with its head's middle at the origin, 40 high.
QPainterPath quarterNote() {
    QPainterPath head;
    head.addEllipse(QPointF(-1, 0), 7.6, 5.4);
    QTransform tilt;
    tilt.rotate(-21);
    QPainterPathStroker stem(sketchPen(Qt::black, 2.9));
    return tilt.map(head).united(
        stem.createStroke(curve({5, -1.5}, {{QPointF(5.5, -14), QPointF(4.7, -27), QPointF(5, -38.4)}})));
}

/// The flag of a note whose stem ends at `y`.
QPainterPath flag(qreal y) {
    return curve({3.8, y}, {{QPointF(5, y + 8.6), QPointF(15, y + 10), QPointF(16.6, y + 19)},
                            {QPointF(17.2, y + 22.6), QPointF(16, y + 25.2), QPointF(14.4, y + 27.6)},
                            {QPointF(15.6, y + 21.4), QPointF(13.6, y + 17.4), QPointF(10.6, y + 14.6)},
                            {QPointF(8, y + 12), QPointF(5.6, y + 11), QPointF(4.6, y + 9)}});
}

void drawDisc(QPainter &painter, QPointF middle, qreal turn) {
    stroke(painter, disc(middle, kDiscRadius), sketchPen(lookColour(LookColour::Ink)), lookColour(LookColour::Sheet));
    const QPen groove = sketchPen(lookColour(LookColour::Line), 1.2);
    for (const qreal radius : {36.0, 30.0, 24.0})
        stroke(painter, disc(middle, radius), groove);
    stroke(painter, disc(middle, 15), sketchPen(lookColour(LookColour::Ink), 1.2), lookColour(LookColour::Teal));
    stroke(painter, disc(middle, 2.6), Qt::NoPen, lookColour(LookColour::Sheet));
    // A gleam, by which one sees it turn.
    painter.setPen(sketchPen(lookColour(LookColour::Sheet), 1.6));
    painter.drawArc(QRectF(middle.x() - 10, middle.y() - 10, 20, 20), qRound((40 - turn) * 16), 60 * 16);
}

void drawSleeve(QPainter &painter) {
    const QRectF sleeve(-kSleeve.width() / 2, -kSleeve.height() / 2, kSleeve.width(), kSleeve.height());
    stroke(painter, sketchedRect(sleeve, 9), sketchPen(lookColour(LookColour::Ink)), lookColour(LookColour::Paper2));
    painter.save();
    painter.translate(-5, 18);
    painter.scale(1.15, 1.15);
    painter.rotate(-3);
    stroke(painter, quarterNote().united(flag(-38)), Qt::NoPen, lookColour(LookColour::Soft));
    painter.restore();
}

// It pops up with a little too much swing, the disc goes in, and it nods.
void drawCover(QPainter &painter, int frame) {
    const qreal t = static_cast<qreal>(frame) / (kCoverFrames - 1);
    const qreal coming = part(t, 0, 0.45);
    const qreal swing = QEasingCurve(QEasingCurve::OutBack).valueForProgress(coming);
    const qreal going = QEasingCurve(QEasingCurve::InOutCubic).valueForProgress(part(t, 0.38, 0.9));
    const qreal nod = qSin(M_PI * part(t, 0.68, 1));
    painter.translate(kCoverSize.width() / 2.0, 112 + 56 * (1 - coming) + 4 * nod);
    painter.scale(0.2 + 0.8 * swing, (0.2 + 0.8 * swing) * (1 - 0.03 * nod));
    painter.rotate(-14 * (1 - swing) - 2 + 3 * part(t, 0.6, 1));
    drawDisc(painter, {58 * (1 - going) - 1, 0}, /*turn=*/300 * t);
    drawSleeve(painter);
}

// The wheel, 32 x 32

constexpr QSize kWheelSize(32, 32);
constexpr int kWheelFrames = 12;

void drawWheel(QPainter &painter, int frame) {
    painter.translate(16, 16);
    for (int spoke = 0; spoke < kWheelFrames; ++spoke) {
        const int age = (frame - spoke + kWheelFrames) % kWheelFrames;
        // A hand makes no two strokes alike.
        const qreal inner = 6.6 + 0.5 * qSin(spoke * 2.3);
        const qreal outer = 12.6 + 0.7 * qSin(spoke * 3.7 + 1);
        const qreal angle = 2 * M_PI * spoke / kWheelFrames + 0.05 * qSin(spoke * 5.1);
        const QPointF direction(qSin(angle), -qCos(angle));
        painter.setPen(sketchPen(faded(LookColour::Ink, qMax(0.14, 0.95 - 0.11 * age)), 2));
        painter.drawLine(direction * inner, direction * outer);
    }
}

// The notes, 60 x 60

constexpr QSize kNoteSize(60, 60);

/// Two notes under one beam or two.
QPainterPath beamedNotes(int beams) {
    QPainterPath both = quarterNote().translated(-11, 0).united(quarterNote().translated(11, -3));
    QPainterPathStroker stroker(sketchPen(Qt::black, 4.6));
    for (int beam = 0; beam < beams; ++beam) {
        const qreal y = -37.6 + 8 * beam;
        both |=
            stroker.createStroke(curve({-5.6, y}, {{QPointF(1, y - 1.6), QPointF(9, y - 2.2), QPointF(16.4, y - 3)}}));
    }
    return both;
}

void drawNote(QPainter &painter, int number) {
    painter.translate(27, 51);
    QPainterPath note = quarterNote();
    switch (number) {
    case 1:
        note |= flag(-38);
        break;
    case 2:
        note = note.translated(2, -4);
        break;
    case 3:
        note = beamedNotes(1).translated(-1, -2);
        break;
    case 4: // a sixteenth
        note |= flag(-38) | flag(-28.5);
        break;
    case 5:
        note = beamedNotes(2).translated(-1, -2);
        break;
    default: { // an eighth that leans
        QTransform lean;
        lean.rotate(13);
        note = lean.map(note | flag(-38)).translated(-3, -2);
    }
    }
    stroke(painter, note, Qt::NoPen, lookColour(LookColour::Teal));
}

// The cloud, 520 x 240, with the microphone's cable before it

constexpr QSize kCloudSize(520, 240);

void drawCloud(QPainter &painter) {
    for (const auto &[x, y, radius] : {std::array{60.0, 170.0, 58.0},
                                       {150.0, 147.0, 79.0},
                                       {460.0, 177.0, 56.0},
                                       {370.0, 145.0, 78.0},
                                       {260.0, 122.0, 94.0}})
        stroke(painter, sketchedRect({x - radius, y - radius, 2 * radius, 2 * radius}, radius), Qt::NoPen,
               faded(LookColour::Paper2, 0.85));
    const QPen cable = sketchPen(lookColour(LookColour::Soft));
    stroke(painter,
           curve({287, 193}, {{QPointF(303, 199), QPointF(318, 204), QPointF(331, 196)},
                              {QPointF(344, 188), QPointF(339, 174), QPointF(328, 176)},
                              {QPointF(317, 179), QPointF(319, 194), QPointF(332, 198)},
                              {QPointF(351, 204), QPointF(366, 208), QPointF(384, 202)},
                              {QPointF(401, 197), QPointF(414, 197), QPointF(432, 198)}}),
           cable);
}

// A bar's full height, in its place and filled

constexpr QSize kBarSize(5, 33);
constexpr QSize kFillSize(64, 64); // of which a bar shows the middle

void drawEmptyBar(QPainter &painter) {
    QPainterPath bar;
    bar.addRoundedRect(QRectF(QPointF(), QSizeF(kBarSize)), 1.4, 1.4);
    stroke(painter, bar, Qt::NoPen, lookColour(LookColour::Paper2));
}

void drawFullBar(QPainter &painter) { painter.fillRect(QRect(QPoint(), kFillSize), lookColour(LookColour::Teal)); }

struct Drawing {
    QSize size;
    std::function<void(QPainter &)> draw;
};

Drawing drawingNamed(const QString &name) {
    static const QRegularExpression frames(QStringLiteral("^00([1-3])00(\\d\\d)\\.png$"));
    static const QRegularExpression notes(QStringLiteral("^Note([1-6])\\.png$"));
    if (const auto match = frames.match(name); match.hasMatch()) {
        const int frame = match.captured(2).toInt();
        switch (match.captured(1).toInt()) {
        case 1:
            if (frame < kMicrophoneFrames)
                return {kMicrophoneSize, [frame](QPainter &painter) { drawMicrophone(painter, frame); }};
            break;
        case 2:
            if (constexpr int first = 50; frame >= first && frame < first + kCoverFrames)
                return {kCoverSize, [frame](QPainter &painter) { drawCover(painter, frame - first); }};
            break;
        default:
            if (frame < kWheelFrames)
                return {kWheelSize, [frame](QPainter &painter) { drawWheel(painter, frame); }};
        }
    }
    if (const auto match = notes.match(name); match.hasMatch())
        return {kNoteSize, [note = match.captured(1).toInt()](QPainter &painter) { drawNote(painter, note); }};
    if (name == QLatin1String("cloud"))
        return {kCloudSize, drawCloud};
    if (name == QLatin1String("empty"))
        return {kBarSize, drawEmptyBar};
    if (name == QLatin1String("fill"))
        return {kFillSize, drawFullBar};
    return {};
}

} // namespace

bool isSceneImage(const QString &name) { return static_cast<bool>(drawingNamed(name).draw); }

QPixmap sceneImage(const QString &name, qreal devicePixelRatio) {
    const Drawing drawing = drawingNamed(name);
    if (!drawing.draw)
        return {};
    QPixmap pixmap((QSizeF(drawing.size) * devicePixelRatio).toSize());
    pixmap.setDevicePixelRatio(devicePixelRatio);
    pixmap.fill(Qt::transparent);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    drawing.draw(painter);
    return pixmap;
}
