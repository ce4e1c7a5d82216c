#pragma once

#include "platform/export.h"
#include "platform/foundation/CriticalSection.h"
#include "platform/foundation/LightweightString.h"
#include "platform/foundation/Ptr.h"
#include "platform/support/Streamable.h"

#include <cstdint>
#include <utility>
#include <vector>

/// What a message is about; see `NotifyMsgTypeDictionary`.
using NotifyMsgType = std::uint32_t;

/// A message to listeners: what it is about, and an object with the particulars.
class NotifyMsg
{
public:
    NotifyMsg(NotifyMsgType type, const Kt::Ptr<iObject>& payload)
        : type_(type)
        , payload_(payload)
    {
    }

    NotifyMsgType type() const { return type_; }
    const Kt::Ptr<iObject>& payload() const { return payload_; }

private:
    NotifyMsgType type_;
    Kt::Ptr<iObject> payload_;
};

/// The numbers that stand for what messages are about, one for each name, the same for the life of
/// the process. Thread-safe.
class CEL_PLATFORM_API NotifyMsgTypeDictionary
{
public:
    static NotifyMsgTypeDictionary& instance();

    /// The number of a name; a new one when the name is asked for the first time.
    NotifyMsgType type(const LightweightString<char>& name);

private:
    NotifyMsgTypeDictionary() = default;
};

/// Somebody who is called back.
template <class Result, class Argument>
class iCallbackBase : public virtual iObject
{
public:
    virtual Result operator()(const Argument& argument) = 0;

protected:
    ~iCallbackBase() override = default;
};

/// Listeners by what they listen for. Everything happens on the caller's thread, and listeners may
/// do anything, also add and remove listeners or end the notifier: a message goes to those who were
/// registered when it was issued and still are when their turn comes.
///
/// A copy of a notifier tells the listeners that the original had; a guard stands for the
/// registration in both.
template <class Message>
class GenericNotifier
{
public:
    using Callback = iCallbackBase<int, Message>;

    /// Registers a listener behind the others. @return the registration, which ends with it.
    Kt::Ptr<Kt::Guard> addListener(const Kt::Ptr<Callback>& callback, NotifyMsgType type)
    {
        std::erase_if(listeners_, [](const auto& listener) { return !listener->callback; });
        listeners_.emplace_back(new Listener(callback, type));
        return Kt::Ptr<Kt::Guard>(new Registration(listeners_.back()));
    }

    /// Calls every listener for that type, in the order of their registration. What they answer is
    /// not looked at.
    void issue(const Message& message, NotifyMsgType type) const
    {
        const auto listeners = listeners_;
        for (const auto& listener : listeners) {
            const Kt::Ptr<Callback> callback = listener->callback;
            if (callback && listener->type == type)
                (*callback)(message);
        }
    }

private:
    struct Listener : Kt::InternalRefCount
    {
        Listener(const Kt::Ptr<Callback>& whom, NotifyMsgType about)
            : callback(whom)
            , type(about)
        {
        }
        Kt::Ptr<Callback> callback; ///< null once the registration has ended
        NotifyMsgType type;
    };

    struct Registration : Kt::Guard
    {
        explicit Registration(const Kt::Ptr<Listener>& registered)
            : listener(registered)
        {
        }
        ~Registration() override
        {
            // The listener goes last: its destructor may do anything as well.
            const Kt::Ptr<Callback> callback = std::exchange(listener->callback, nullptr);
        }
        Kt::Ptr<Listener> listener;
    };

    std::vector<Kt::Ptr<Listener>> listeners_;
};

using Notifier = GenericNotifier<NotifyMsg>;

namespace cel {

/// A listener that calls `function` with each message.
template <class Message = NotifyMsg, class Function>
Kt::Ptr<iCallbackBase<int, Message>> makeListener(Function function)
{
    struct Listener final : iCallbackBase<int, Message>
    {
        explicit Listener(Function called)
            : function(std::move(called))
        {
        }
        int operator()(const Message& message) override
        {
            function(message);
            return 0;
        }
        Function function;
    };
    return Kt::Ptr<iCallbackBase<int, Message>>(new Listener(std::move(function)));
}

} // namespace cel
