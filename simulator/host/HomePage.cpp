#include "simulator/host/HomePage.h"

#include <QHBoxLayout>
#include <QVBoxLayout>

HomePage::HomePage()
    : m_open(new QPushButton(QStringLiteral("System Settings"))),
      m_problem(new QLabel),
      m_backlight(new QLabel),
      m_notice(new QLabel)
{
    setObjectName(QStringLiteral("HomePage"));
    setAttribute(Qt::WA_StyledBackground);
    setStyleSheet(QStringLiteral(
        "#HomePage{background:qlineargradient(x1:0,y1:0,x2:0,y2:1,stop:0 #22313f,stop:1 #34495e);}"
        "QLabel{color:#dfe6ec;}"
        "#title{font-size:30px;font-weight:bold;}"
        "#open{background:#2e86c1;color:white;border:0;border-radius:12px;font-size:22px;"
        "font-weight:bold;}"
        "#open:pressed{background:#1b5f8f;}"
        "#problem{color:#f5b7b1;font-size:18px;}"));

    auto* title = new QLabel(QStringLiteral("Simulated panel"));
    title->setObjectName(QStringLiteral("title"));
    m_open->setObjectName(QStringLiteral("open"));
    m_open->setFixedSize(320, 96);
    m_problem->setObjectName(QStringLiteral("problem"));
    m_problem->setWordWrap(true);
    m_problem->setAlignment(Qt::AlignCenter);
    m_problem->hide();
    connect(m_open, &QPushButton::clicked, this, &HomePage::settingsRequested);

    auto* status = new QHBoxLayout;
    status->addWidget(m_backlight);
    status->addStretch();
    status->addWidget(m_notice);

    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(24, 24, 24, 16);
    column->addStretch(2);
    column->addWidget(title, 0, Qt::AlignHCenter);
    column->addSpacing(32);
    column->addWidget(m_open, 0, Qt::AlignHCenter);
    column->addWidget(m_problem);
    column->addStretch(3);
    column->addLayout(status);
}

void HomePage::setBacklight(int raw)
{
    m_backlight->setText(QStringLiteral("Backlight %1").arg(raw));
}

void HomePage::setNotice(const QString& text)
{
    m_notice->setText(text);
}

void HomePage::setProblem(const QString& text)
{
    m_open->hide();
    m_problem->setText(text);
    m_problem->show();
}
