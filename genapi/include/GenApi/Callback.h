// Node callbacks: code that runs when a node's value may have changed.
#pragma once

#include <cstdint>

#include "GenApi/Interfaces.h"

namespace GenApi {

using CallbackHandleType = intptr_t;

class CNodeCallback {
public:
    CNodeCallback(INode* node, ECallbackType type) : node_(node), type_(type) {}
    virtual ~CNodeCallback() = default;
    // Called once for cbPostInsideLock and once for cbPostOutsideLock; a
    // callback acts on the type it was registered for.
    virtual void operator()(ECallbackType type) const = 0;
    virtual void Destroy() { delete this; }
    INode* GetNode() const { return node_; }
    ECallbackType GetCallbackType() const { return type_; }

protected:
    INode* node_;
    ECallbackType type_;
};

template <class Function>
class Function_NodeCallback final : public CNodeCallback {
public:
    Function_NodeCallback(INode* node, const Function& function, ECallbackType type)
        : CNodeCallback(node, type), function_(function) {}
    void operator()(ECallbackType type) const override {
        if (type == type_) function_(node_);
    }

private:
    Function function_;
};

template <class Client, class Member>
class Member_NodeCallback final : public CNodeCallback {
public:
    Member_NodeCallback(INode* node, Client& client, Member member, ECallbackType type)
        : CNodeCallback(node, type), client_(client), member_(member) {}
    void operator()(ECallbackType type) const override {
        if (member_ && type == type_) (client_.*member_)(node_);
    }

private:
    Client& client_;
    Member member_;
};

// Register(node, object, &Class::Method[, type]): calls object.Method(node).
template <class Client, class Member>
CallbackHandleType Register(INode* node, Client& client, Member member, ECallbackType type = cbPostInsideLock) {
    return node->RegisterCallback(new Member_NodeCallback<Client, Member>(node, client, member, type));
}

// Register(node, function[, type]): calls function(node).
template <class Function>
CallbackHandleType Register(INode* node, Function function, ECallbackType type = cbPostInsideLock) {
    return node->RegisterCallback(new Function_NodeCallback<Function>(node, function, type));
}

} // namespace GenApi
