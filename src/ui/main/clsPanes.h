// SPDX-License-Identifier: GPL-3.0-or-later
// The main window's panes and the two bars between them.
#pragma once

#include <QWidget>

/// A bar that divides two panes: it is dragged with the mouse, or moved with the arrow keys while it has the focus.
class clsSplitterBar : public QWidget
{
    Q_OBJECT

public:
    /// @param orientation  of the bar's movement: Horizontal moves left and right.
    clsSplitterBar(Qt::Orientation orientation, QWidget* parent);
    /// Pixels across the bar.
    static constexpr int Thickness = 7;

Q_SIGNALS:
    /// The user wants the bar's near edge at `position`, in pixels of the parent.
    void MoveWanted(int position);

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;

private:
    Qt::Orientation m_orientation;
    int m_grip = -1; ///< where the mouse holds the bar; -1: it does not
};

/// Lays out the header and the three panes around the bars' positions, which are twips from its left and top edges
/// whatever the screen's scale.
class clsPanes : public QWidget
{
    Q_OBJECT

public:
    // How near to the edges a bar may be put, in twips.
    static constexpr int LeftMargin = 1620;
    static constexpr int RightMargin = 1620;
    static constexpr int TopMargin = 2500;
    static constexpr int BottomMargin = 2000;
    /// The inside of a window of the first size, below a menu bar of any style.
    static constexpr QSize FirstSize{632, 425};
    // Where the bars stand in a window of the first size, in twips. A bar that is kept at this place has not been put
    // there by the user.
    static constexpr int FirstLeft = 1690;
    static constexpr int FirstTop = 4230;

    /// Takes the four widgets over. @param header  across the top, as high as it wants to be.
    clsPanes(QWidget* header, QWidget* topLeft, QWidget* topRight, QWidget* bottom, QWidget* parent = nullptr);

    /// Where the bars were put last. A window too small for them shows them within the margins for the time being.
    [[nodiscard]] int PaneLeft() const { return m_left; }
    /// The lower bar shares out what the window's height gains or loses afterwards. @param height  of the panes.
    [[nodiscard]] int PaneTop(int height) const;
    /// Puts the bars where they were left before, in panes of the size these have now.
    void SetPositions(int left, int top);
    /// A place outside the margins is refused: the bar stays.
    void MoveVertical(int left);
    void MoveHorizontal(int top);

    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    void resizeEvent(QResizeEvent* event) override;
    bool event(QEvent* event) override;

private:
    void LayOut();
    [[nodiscard]] int LargestLeft() const;
    [[nodiscard]] int LargestTop() const;
    [[nodiscard]] bool TopMoved() const;
    /// Where the lower bar belongs in panes of this height, in twips.
    [[nodiscard]] int TopAt(int height) const;
    /// Where the lower bar must be at least for everything above it to be seen, in pixels.
    [[nodiscard]] int LeastTop(int rightWidth) const;

    QWidget* m_header;
    QWidget* m_topLeft;
    QWidget* m_topRight;
    QWidget* m_bottom;
    clsSplitterBar* m_vertical;
    clsSplitterBar* m_horizontal;
    int m_left = FirstLeft;               ///< twips
    int m_top = FirstTop;                 ///< twips
    int m_topHeight = FirstSize.height(); ///< pixels of the panes when the bar was put there
};
