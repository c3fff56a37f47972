// SPDX-License-Identifier: GPL-3.0-or-later
#include "net/LoadingWindow.h"

#include <QLabel>
#include <QMovie>
#include <QPainter>
#include <QVBoxLayout>

LoadingWindow::LoadingWindow(QWidget* parent)
    : QWidget(parent)
{
    setObjectName(QStringLiteral("LoadingWindow"));
    setAttribute(Qt::WA_TranslucentBackground);

    auto* layout = new QVBoxLayout(this);
    layout->setSpacing(16);
    auto* text = new QLabel(tr("Text.requestInProgress"), this);
    text->setObjectName(QStringLiteral("labelText"));
    text->setAlignment(Qt::AlignHCenter | Qt::AlignBottom);
    layout->addWidget(text);
    auto* animation = new QLabel(this);
    animation->setObjectName(QStringLiteral("labelAnimation"));
    animation->setAlignment(Qt::AlignHCenter | Qt::AlignTop);
    // A movie does not choose its double by itself.
    const bool dense = devicePixelRatioF() > 1;
    auto* movie = new QMovie(dense ? QStringLiteral(":/images/loading@2x.gif") : QStringLiteral(":/images/loading.gif"),
                             QByteArray(), animation);
    animation->setMovie(movie);
    layout->addWidget(animation);
    movie->start();

    update();
}

void LoadingWindow::update()
{
    const QWidget* const parent = parentWidget();
    if (parent != nullptr && size() != parent->size()) {
        setGeometry(0, 0, parent->width(), parent->height());
    }
    if (!isVisible()) {
        show();
    }
}

void LoadingWindow::paintEvent(QPaintEvent*)
{
    update();
    QPainter painter(this);
    painter.fillRect(rect(), QColor(0, 0, 0, 128));
}

#include "moc_LoadingWindow.cpp"
