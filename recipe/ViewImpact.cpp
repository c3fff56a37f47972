// SPDX-License-Identifier: GPL-3.0-or-later
#include "recipe/ViewImpact.h"

#include "app/Dialogs.h"
#include "model/PatientManager.h"
#include "model/picture.h"
#include "net/Controller.h"
#include "recipe/ImpactDelegate.h"
#include "recipe/ImpactModel.h"
#include "signal/Utils.h"
#include "ui_ViewImpact.h"

#include <QFile>
#include <QFileDialog>
#include <QHeaderView>
#include <QPointer>
#include <QShortcut>
#include <QStandardPaths>

#include <cmath>
#include <functional>
#include <limits>
#include <utility>

namespace {

constexpr int numberColumn = 0;
constexpr int titleColumn = 3;
constexpr int rowHeight = 40;
constexpr int maximumMinutes = 600;
/// Beyond it the size fields of a WAV header, which is made from an int, would be wrong.
constexpr qint64 maximumFile = std::numeric_limits<int>::max();
/// What is written at a time. Within a file the pieces begin at whole multiples of it: the seams of the blocks, which
/// are of any length, would leave half-filled pages. Larger pieces take memory that the system may first have to find.
constexpr int pieceSize = 32 * 1024;

QByteArray decode(const QJsonValue& block)
{
    return QByteArray::fromBase64(block.toString().toUtf8());
}

void writeRepeated(QFile& file, const QByteArray& chunk, int passes)
{
    if (chunk.isEmpty()) {
        return;
    }
    // Long enough for a piece to begin anywhere in the chunk.
    QByteArray run = chunk;
    while (run.size() < chunk.size() + pieceSize) {
        run.append(chunk.left(chunk.size() + pieceSize - run.size()));
    }
    qint64 place = 0;
    for (qint64 left = static_cast<qint64>(chunk.size()) * passes; left > 0;) {
        const qint64 piece = qMin(left, pieceSize - file.pos() % pieceSize);
        file.write(run.constData() + place, piece);
        place = (place + piece) % chunk.size();
        left -= piece;
    }
}

} // namespace

ViewImpact::ViewImpact(QWidget* parent, Patient* impactPatient, Record* impactRecord, QList<Marker>* markers,
                       bool isChanged)
    : QWidget(parent)
    , ui(std::make_unique<Ui::ViewImpact>())
    , patient(*impactPatient)
    , record(*impactRecord)
    , changed(isChanged)
{
    qRegisterMetaType<ViewImpact::Target>("ViewImpact::Target");
    ui->setupUi(this);
    ui->labelSeparator->setPixmap(picture(QStringLiteral(":/images/separator.png")));
    ui->labelSeparator2->setPixmap(picture(QStringLiteral(":/images/separator.png")));
    ui->spinBoxDuration->setAttribute(Qt::WA_MacShowFocusRect, false);
    connectParent();

    connect(ui->buttonListPatients, SIGNAL(clicked()), this, SLOT(backToPatientsList()));
    connect(ui->buttonPatientCard, SIGNAL(clicked()), this, SLOT(backToPatientCard()));
    connect(ui->buttonBack, SIGNAL(clicked()), this, SLOT(backToReceipt()));
    connect(ui->buttonStart, SIGNAL(clicked()), this, SLOT(onStart()));
    // The boxes are filled later: the first row is what runs calculate() when the total stays 0.
    connect(ui->spinBoxDuration, SIGNAL(valueChanged(int)), this, SLOT(onDurationChanged()));
    connect(ui->comboBoxTarget, SIGNAL(currentIndexChanged(int)), this, SLOT(onTargetChanged()));

    model = new ImpactModel(this);
    model->setMarkers(*markers);
    connect(model, &ImpactModel::onMarkerRemove, this, [this](const QString& id) {
        changed = true;
        emit onMarkerRemove(id);
        setTotalMarkers();
        if (model->rowCount() == 0) {
            emit onBack();
        }
    });
    connect(model, &ImpactModel::onChangeOrder, this, [this] { changed = true; });

    setupTable();
    fillBoxes();

    ui->buttonPatientCard->setText(tr("Text.patientCard").arg(patient.getName()));
    ui->labelTitle->setText(tr("Text.recipe").arg(patient.getName(), record.getRecordedAt()));
    ui->tableView->setAccessibleName(ui->labelTitle->text());
    ui->labelConnectedDevice->setVisible(patient.isHasDevices());
    ui->labelConnectedDevice->setPixmap(patient.getStatusIcon());
    setTotalMarkers();
}

ViewImpact::~ViewImpact() = default;

void ViewImpact::connectParent()
{
    QWidget* const parent = parentWidget();
    // A parent of any class serves, and one without the signal is no mistake, so the connection goes by name.
    if (parent != nullptr && parent->metaObject()->indexOfSignal("onPlayerState(bool)") >= 0) {
        connect(parent, SIGNAL(onPlayerState(bool)), this, SLOT(onPlayerState(bool)));
    }
}

void ViewImpact::setupTable()
{
    QTableView* const table = ui->tableView;
    QHeaderView* const header = table->horizontalHeader();
    delegate = new ImpactDelegate(this);
    table->setModel(model);
    table->setAttribute(Qt::WA_MouseTracking);
    table->setSelectionBehavior(QAbstractItemView::SelectRows);
    header->setStretchLastSection(false);
    // The style's own minimum is wider than an icon.
    header->setMinimumSectionSize(0);
    for (int column : {1, 2, 4}) {
        table->setItemDelegateForColumn(column, delegate);
    }
    // Without a marker there is no section, and Qt crashes on the mode of a section that is not there.
    for (int column = 0; column < header->count(); ++column) {
        header->setSectionResizeMode(column, column == titleColumn ? QHeaderView::Stretch : QHeaderView::Fixed);
    }
    for (int column : {1, 2, 4}) {
        table->setColumnWidth(column, delegate->getIconWidth(column) + 2);
    }
    header->setVisible(false);
    table->verticalHeader()->setVisible(false);
    table->verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    table->verticalHeader()->setDefaultSectionSize(rowHeight);
    table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table->setSelectionMode(QAbstractItemView::SingleSelection);
    table->setColumnWidth(numberColumn, 50);
    table->setAlternatingRowColors(true);

    // What the mouse does on the icons.
    const auto onKey = [this, table](const QKeySequence& key, const std::function<void(const QModelIndex&)>& act) {
        auto* const shortcut = new QShortcut(key, table);
        shortcut->setContext(Qt::WidgetShortcut);
        connect(shortcut, &QShortcut::activated, this, [table, act] {
            if (table->currentIndex().isValid()) {
                act(table->currentIndex());
            }
        });
    };
    const auto moveBy = [this, table](const QModelIndex& index, int rows) {
        const QModelIndex target = index.siblingAtRow(index.row() + rows);
        if (target.isValid()) {
            model->swapMarkers(index.row(), target.row());
            table->setCurrentIndex(target);
        }
    };
    onKey(Qt::ALT + Qt::Key_Up, [moveBy](const QModelIndex& index) { moveBy(index, -1); });
    onKey(Qt::ALT + Qt::Key_Down, [moveBy](const QModelIndex& index) { moveBy(index, 1); });
    onKey(Qt::Key_Delete, [this, table](const QModelIndex& index) {
        const int row = index.row();
        const int column = index.column();
        model->removeMarker(index);
        table->setCurrentIndex(model->index(qMin(row, model->rowCount() - 1), column));
    });
}

void ViewImpact::fillBoxes()
{
    ui->comboBoxTarget->addItem(tr("Text.sensor"), QVariant::fromValue(Target::Sensor));
    ui->comboBoxTarget->addItem(tr("Text.download"), QVariant::fromValue(Target::Download));
    if (patient.isHasDevices()) {
        ui->comboBoxTarget->addItem(tr("Text.box"), QVariant::fromValue(Target::Box));
    }
    ui->comboBoxTarget->setCurrentIndex(0);
    ui->comboBoxCommand->addItem(tr("Text.recipeCommand"), QStringLiteral("RECIPE"));
    ui->comboBoxCommand->addItem(tr("Text.selfRecipeCommand"), QStringLiteral("SELFRECIPE"));
    ui->comboBoxCommand->setCurrentIndex(0);
}

void ViewImpact::setTotalMarkers()
{
    qint64 sum = 0;
    const QList<Marker> markers = model->markers();
    for (const Marker& marker : markers) {
        sum += marker.getAmount();
    }
    const int total =
        static_cast<int>(qBound<qint64>(std::numeric_limits<int>::min(), sum, std::numeric_limits<int>::max()));
    if (total == totalMarkers) {
        return;
    }
    totalMarkers = total;
    ui->labelMarkers->setText(tr("Text.totalMarkers").arg(totalMarkers));
    calculate();
}

void ViewImpact::calculate()
{
    const Target target = getTarget();
    const bool download = target == Target::Download;
    ui->labelDuration->setText(download ? tr("Text.durationPerMarker") : tr("Text.durationInMinutes"));
    ui->buttonStart->setText(download ? tr("Text.save") : tr("Text.start"));
    ui->comboBoxCommand->setVisible(target == Target::Box);
    // The limits come first: they may move the value, and what follows has to count with the value that stays. A
    // minimum beyond the maximum would have the two move it to and fro without end.
    const int needed = download ? 1 : static_cast<int>(std::ceil(totalMarkers * 3.0 / 60.0));
    ui->spinBoxDuration->setRange(qBound(1, needed, maximumMinutes), maximumMinutes);

    const int duration = ui->spinBoxDuration->value();
    repeats = Utils::calculateRepeats(duration, download ? 1 : totalMarkers);
    const qint64 total = download ? static_cast<qint64>(totalMarkers) * duration : duration;
    ui->labelTotal->setText(tr("Text.totalTime").arg(total));
}

ViewImpact::Target ViewImpact::getTarget() const
{
    const QVariant current = ui->comboBoxTarget->currentData(Qt::UserRole);
    return current.canConvert<Target>() ? current.value<Target>() : Target::Box;
}

void ViewImpact::onDurationChanged()
{
    calculate();
}

void ViewImpact::onTargetChanged()
{
    calculate();
}

void ViewImpact::onStart()
{
    ui->buttonStart->setEnabled(false);
    const int duration = ui->spinBoxDuration->value();
    QList<Marker> markers = model->markers();
    if (getTarget() == Target::Box) {
        sendCommand(markers, duration);
        return;
    }
    auto* const controller = new Controller(this);
    controller->recipe(&patient, &record, markers, duration, Utils::getDeviceId());
    connect(controller, SIGNAL(onBytes(QByteArray)), this, SLOT(onSuccess(QByteArray)));
    connect(controller, SIGNAL(onError(QString)), this, SLOT(onError(QString)));
}

void ViewImpact::sendCommand(QList<Marker>& markers, int duration)
{
    auto* const controller = new Controller(this);
    controller->saveRecipe(&patient, &record, markers, duration,
                           ui->comboBoxCommand->currentData(Qt::UserRole).toString());
    connect(controller, &Controller::onSuccess, this, [this] {
        const QPointer<ViewImpact> self(this);
        Dialogs::success(this, tr("Text.recipeCommandSuccess"));
        if (self == nullptr) {
            return;
        }
        ui->buttonStart->setEnabled(true);
        patient.setStatusRecipe();
        PatientManager::getInstance()->replace(patient);
        ui->labelConnectedDevice->setPixmap(patient.getStatusIcon());
    });
    connect(controller, SIGNAL(onError(QString)), this, SLOT(onError(QString)));
}

void ViewImpact::onSuccess(const QByteArray& bytes)
{
    changed = false;
    audio.clear();
    QJsonArray blocks = Utils::bytesToArray(bytes);
    if (!ui->comboBoxTarget->currentData(Qt::UserRole).canConvert<Target>()) {
        return;
    }
    switch (getTarget()) {
    case Target::Download:
        saveWav(blocks);
        break;
    case Target::Sensor:
        play(std::move(blocks));
        break;
    case Target::Box:
        break;
    }
}

void ViewImpact::saveWav(const QJsonArray& blocks)
{
    const QString name = QFileDialog::getSaveFileName(this, tr("Text.saveFile"),
                                                      QStandardPaths::displayName(QStandardPaths::DocumentsLocation),
                                                      QStringLiteral("*.wav"));
    if (name.isEmpty()) {
        return;
    }

    QList<QByteArray> chunks;
    qint64 size = 0;
    for (const QJsonValue& block : blocks) {
        chunks.append(decode(block));
        size += static_cast<qint64>(chunks.last().size()) * repeats;
    }
    QFile file(name);
    // Told apart before the file is opened, which would empty it.
    if (size > maximumFile || !file.open(QIODevice::WriteOnly)) {
        Dialogs::error(this, tr("Text.errorWavSave"));
        return;
    }
    file.write(Utils::wavHeader(static_cast<int>(size)));
    for (const QByteArray& chunk : qAsConst(chunks)) {
        writeRepeated(file, chunk, repeats);
    }
    file.close();
}

void ViewImpact::play(QJsonArray blocks)
{
    audio = Utils::repeatBlocks(blocks, repeats);
    // The texts would stay in memory beside both copies of the signal while the player is made.
    blocks = {};
    emit onPlay(audio, patient.getName());
}

void ViewImpact::onPlayerState(bool playing)
{
    ui->buttonStart->setEnabled(!playing);
}

void ViewImpact::onError(const QString& message)
{
    ui->buttonStart->setEnabled(true);
    Dialogs::error(this, message);
}

void ViewImpact::backToPatientsList()
{
    doBackNavigation(Navigation::PatientList);
}

void ViewImpact::backToPatientCard()
{
    doBackNavigation(Navigation::PatientCard);
}

void ViewImpact::backToReceipt()
{
    emit onBack();
}

void ViewImpact::doBackNavigation(Navigation navigation)
{
    // The screen may go while the question is open.
    const QPointer<ViewImpact> self(this);
    const bool wanted = changed && Dialogs::confirm(this, tr("Text.saving"), tr("Text.confirmSave"));
    if (self == nullptr) {
        return;
    }
    if (!wanted) {
        emitNavigation(navigation);
        return;
    }
    QList<Marker> markers = model->markers();
    auto* const controller = new Controller(this);
    controller->saveRecipe(&patient, &record, markers, ui->spinBoxDuration->value(), QLatin1String(""));
    connect(controller, &Controller::onSuccess, this, [this, navigation] {
        changed = false;
        emitNavigation(navigation);
    });
    connect(controller, SIGNAL(onError(QString)), this, SLOT(onError(QString)));
}

void ViewImpact::emitNavigation(Navigation navigation)
{
    switch (navigation) {
    case Navigation::PatientCard:
        emit onPatientCard();
        break;
    case Navigation::PatientList:
        emit onPatientsList();
        break;
    }
}

#include "moc_ViewImpact.cpp"
