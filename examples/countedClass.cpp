// A counted class of one's own: it can be copied through its base, and told apart from others at run time.

#include "kxbase/kxbase.h"

#include <cstdio>

class Shape : public kxReference {
public:
    static constexpr kxType kType = kxType::ofLiteral(&kxTypeTable::find("kxReference"), "Shape");

    const kxType& getType() const override { return kType; }
    virtual double area() const = 0;
};

class Square : public Shape {
public:
    static constexpr kxType kType = kxType::ofLiteral(&Shape::kType, "Square");

    explicit Square(double side) : side_(side) {}
    const kxType& getType() const override { return kType; }
    Square* clone() const override { return new Square(*this); }
    double area() const override { return side_ * side_; }
    void stretch(double factor) { side_ *= factor; }

private:
    double side_;
};

int main()
{
    const kxRefPointer<kxReference> object = kxMakeRef<Square>(2.0);
    const kxRefPointer<kxReference> copy(object->clone());  // a new object, now held
    const kxRefPointer<Square> square = copy.dynamicCast<Square>(Square::kType);
    if (!square || !copy.dynamicCast<Shape>(Shape::kType)) return 1;
    square->stretch(3);
    const double before = object.staticCast<Square>()->area();
    std::printf("a %s of %.0f, its copy of %.0f\n", copy->getType().name(), before, square->area());
    return before == 4 && square->area() == 36 ? 0 : 1;
}
