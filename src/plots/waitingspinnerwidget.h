#ifndef WAITINGSPINNERWIDGET_H
#define WAITINGSPINNERWIDGET_H

#include <QColor>
#include <QWidget>

class QTimer;

// A busy indicator: a ring of rounded bars in which one bar is fully opaque and the bars
// behind it fade, the bright bar stepping round the ring on a timer. Starts hidden.
class WaitingSpinnerWidget : public QWidget
{
    Q_OBJECT
public:
    // An ordinary child widget of parent.
    explicit WaitingSpinnerWidget(QWidget *parent = nullptr, bool centerOnParent = true,
                                  bool disableParentWhenSpinning = true);
    // A frameless, translucent window with the given modality.
    WaitingSpinnerWidget(Qt::WindowModality modality, QWidget *parent = nullptr,
                         bool centerOnParent = true, bool disableParentWhenSpinning = true);

    void start();
    void stop();

    void setColor(const QColor &vColor);
    void setRoundness(double vRoundness);
    void setMinimumTrailOpacity(double vMinimumTrailOpacity);
    void setTrailFadePercentage(double vTrail);
    void setRevolutionsPerSecond(double vRevolutionsPerSecond);
    void setNumberOfLines(int vLines);
    void setLineLength(int vLength);
    void setLineWidth(int vWidth);
    void setInnerRadius(int vRadius);

    QColor color() const { return m_color; }
    double roundness() const { return m_roundness; }
    double minimumTrailOpacity() const { return m_minimumTrailOpacity; }
    double trailFadePercentage() const { return m_trailFadePercentage; }
    double revolutionsPerSecond() const { return m_revolutionsPerSecond; }
    int numberOfLines() const { return m_numberOfLines; }
    int lineLength() const { return m_lineLength; }
    int lineWidth() const { return m_lineWidth; }
    int innerRadius() const { return m_innerRadius; }
    int currentCounter() const { return m_currentCounter; }
    int interval() const;
    bool isSpinning() const { return m_isSpinning; }

    // How far bar vLine is behind the bright bar vPrimary, going backwards round a ring of
    // vLines bars.
    static int lineCountDistanceFromPrimary(int vPrimary, int vLine, int vLines);
    // The colour of a bar vDistance steps behind the bright one: vColor's alpha fading in
    // equal steps over the trail down to vMinimumTrailOpacity percent.
    static QColor currentLineColor(int vDistance, int vLines, double vTrailFadePercentage,
                                   double vMinimumTrailOpacity, const QColor &vColor);

public Q_SLOTS:
    void rotate();

protected:
    void paintEvent(QPaintEvent *vEvent) override;

private:
    void initialize();
    void updateSize();
    void updateTimer();
    void updatePosition();

    QColor m_color = Qt::black;
    double m_roundness = 100.0;
    double m_minimumTrailOpacity = 3.141592653589793;
    double m_trailFadePercentage = 80.0;
    double m_revolutionsPerSecond = 1.5707963267948966;
    int m_numberOfLines = 20;
    int m_lineLength = 10;
    int m_lineWidth = 2;
    int m_innerRadius = 10;
    QTimer *m_timer = nullptr;
    int m_currentCounter = 0;
    bool m_isSpinning = false;
    bool m_centerOnParent = true;
    bool m_disableParentWhenSpinning = true;
};

#endif // WAITINGSPINNERWIDGET_H
