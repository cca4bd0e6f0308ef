#pragma once

#include "AppModelImagineFixture.h"
#include "Printing.h"
#include "QmlFixture.h"
#include "Views/Appearance.h"
#include "Views/FolderPicker.h"
#include "Views/WindowModel.h"

#include <QBuffer>
#include <QImage>

namespace tessarin
{

// The bytes of a picture of one colour.
inline QByteArray picture(QColor colour = Qt::red, QSize size = { 360, 240 })
{
    QImage image(size, QImage::Format_RGB32);
    image.fill(colour);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    EXPECT_TRUE(image.save(&buffer, "png"));
    return bytes;
}

// The gallery and its generator on a real model, with a library on the disk and a scripted runtime.
class ImagineViewTest : public testing::AppModelImagineTest
{
protected:
    ImagineViewTest() : appearance(preferences), window(appearance, folderPicker, [this] { return clock; }) { }

    // A creation whose file holds these bytes, so many seconds old.
    ImagineItem creation(const std::string& prompt, const QByteArray& bytes = picture(), double age = 0,
        ImagineKind kind = ImagineKind::image, const std::string& extension = "png") const
    {
        std::filesystem::create_directories(library());
        const std::string name = Uuid::random().text() + "." + extension;
        std::ofstream(library() + "/" + name, std::ios::binary) << bytes.toStdString();
        ImagineItem item = ImagineItem::make(kind, prompt, library() + "/" + name, name);
        item.createdAt = { clock.secondsSince2001 - age };
        return item;
    }
    // What the model finds when it is opened.
    void keep(const std::vector<ImagineItem>& items)
    {
        std::filesystem::create_directories(library());
        std::ofstream(history(), std::ios::binary) << encodeImagineHistory(items).value();
    }
    // So many creations of one and the same picture.
    void keepMany(int count)
    {
        std::vector<ImagineItem> items;
        const ImagineItem first = creation("Creation 0");
        for (int i = 0; i < count; ++i) {
            items.push_back(first);
            items.back().id = Uuid::random();
            items.back().prompt = "Creation " + std::to_string(i);
        }
        keep(items);
    }
    void show(const testing::Scenario& scenario = testing::hangingTurn(), QSize size = { 920, 760 })
    {
        openImagine(scenario);
        present(size);
    }
    void present(QSize size = { 920, 760 })
    {
        window.attach(model);
        root = qml.show("ImagineView",
            { { "imagine", QVariant::fromValue(window.imagine()) }, { "install", QVariant::fromValue(window.install()) },
                { "sidebarShown", true } },
            size);
    }

    QList<QQuickItem*> items(const QString& name) const { return QmlFixture::items(root, name); }
    QQuickItem* item(const QString& name) const { return items(name).value(0); }
    QQuickItem* button(const QString& name) const
    {
        for (QQuickItem* found : items("SymbolButton")) {
            if (found->property("toolTip").toString() == name) {
                return found;
            }
        }
        return nullptr;
    }
    QQuickItem* generateButton() const { return item("GenerateButton"); }
    // In the order of the rows.
    QList<QQuickItem*> cards() const
    {
        QList<QQuickItem*> found;
        for (QQuickItem* one : items("ImagineCard")) {
            if (one->isVisible()) { // those that are not wait to be used again
                found.append(one);
            }
        }
        std::sort(found.begin(), found.end(), [](const QQuickItem* left, const QQuickItem* right) {
            return left->property("index").toInt() < right->property("index").toInt();
        });
        return found;
    }
    QQuickItem* card(const QString& prompt) const
    {
        for (QQuickItem* found : cards()) {
            if (found->property("prompt").toString() == prompt) {
                return found;
            }
        }
        return nullptr;
    }
    QQuickItem* focusedCard() const
    {
        for (QQuickItem* found : cards()) {
            if (found->hasActiveFocus()) {
                return found;
            }
        }
        return nullptr;
    }
    QString focusedPrompt() const { return focusedCard() != nullptr ? focusedCard()->property("prompt").toString() : QString(); }
    // The texts that can be seen, in the order of their creation.
    QStringList texts(const QString& component) const
    {
        QStringList out;
        for (const QQuickItem* text : items(component)) {
            if (text->isVisible()) {
                out.append(text->property("text").toString());
            }
        }
        return out;
    }
    QString draft() const { return root->property("prompt").toString(); }
    void type(const char* text)
    {
        for (const char* key = text; *key != 0; ++key) {
            QTest::keyClick(&qml.view(), *key);
        }
    }
    void press(Qt::Key key, Qt::KeyboardModifiers modifiers = Qt::NoModifier) { QTest::keyClick(&qml.view(), key, modifiers); }
    void click(const QQuickItem* target, QPointF place, Qt::MouseButton with = Qt::LeftButton)
    {
        QTest::mouseClick(&qml.view(), with, {}, target->mapToScene(place).toPoint());
    }
    void clickMiddle(const QQuickItem* target, Qt::MouseButton with = Qt::LeftButton)
    {
        click(target, target->boundingRect().center(), with);
    }
    void focusPrompt() { QMetaObject::invokeMethod(root, "focusPrompt"); }

    Appearance appearance;
    FolderPicker folderPicker;
    WindowModel window;
    QmlFixture qml;
    QQuickItem* root = nullptr;
};

} // namespace tessarin
