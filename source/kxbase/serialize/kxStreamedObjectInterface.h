// What a class derived from kxReference has in addition when its objects go through streams of objects.
#pragma once

#include <cstdint>

class kxObjectInput;
class kxObjectOutput;

class kxStreamedObjectInterface {
public:
    // The number under which a factory makes objects of this class; the same in writer and reader.
    virtual std::uint32_t getFactoryId() const = 0;
    // Puts the object's data on the stream: values, and other objects.
    virtual void writeData(kxObjectOutput& output) const = 0;
    // Takes them off again, in the same order. What is left of the data is skipped. Objects taken here have been
    // made, but their own data come later.
    virtual void readData(kxObjectInput& input) = 0;

protected:
    ~kxStreamedObjectInterface() = default;
};
