#pragma once

// Root class of the framework: gives every class a virtual destructor, nothing else.
class SPW_CObject {
public:
    SPW_CObject() = default;
    SPW_CObject(const SPW_CObject&) = default;
    SPW_CObject& operator=(const SPW_CObject&) = default;
    virtual ~SPW_CObject() = default;
};
