#pragma once

#include <QAccessible>
#include <QAccessibleObject>
#include <QQuickItem>

namespace tessarin
{

// What a screen reader gets of a button, whatever its role. Qt Quick 6.4 by itself tells neither that a control is disabled, nor that it
// opens a menu, nor whether what it discloses is open: this reads `enabled`, `menu` and `expanded` of the button, and tells when they
// change. Name, description, role and what a press does come from the `Accessible` of the button; a radio button is clicked. Main thread
// only; owned by Qt.
class ButtonAccessible : public QAccessibleObject, public QAccessibleActionInterface
{
public:
    // Installs the factory that makes these for the buttons of all windows to come.
    static void install();

    explicit ButtonAccessible(QQuickItem* button);

    [[nodiscard]] QAccessibleInterface* parent() const override;
    [[nodiscard]] QWindow* window() const override;
    [[nodiscard]] QAccessibleInterface* child(int index) const override;
    [[nodiscard]] int childCount() const override { return 0; }
    [[nodiscard]] int indexOfChild(const QAccessibleInterface* child) const override;
    [[nodiscard]] QRect rect() const override;
    [[nodiscard]] QString text(QAccessible::Text kind) const override;
    [[nodiscard]] QAccessible::Role role() const override;
    [[nodiscard]] QAccessible::State state() const override;
    void* interface_cast(QAccessible::InterfaceType type) override;

    [[nodiscard]] QStringList actionNames() const override;
    void doAction(const QString& name) override;
    [[nodiscard]] QStringList keyBindingsForAction(const QString& name) const override;

private:
    ~ButtonAccessible() override = default;

    [[nodiscard]] QQuickItem* button() const;
    void press();
    void addLook(QAccessible::State& state) const;
    void addMeaning(QAccessible::State& state) const;
};

} // namespace tessarin
