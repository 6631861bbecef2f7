// A queue of tasks that takes no memory: what somebody waits for must get into it, come what may.
#ifndef TNX_ENGINE_TASK_QUEUE_H
#define TNX_ENGINE_TASK_QUEUE_H

#include <memory>
#include <utility>

namespace OHOS::Pelloria::Tnx
{

template <class Task> class TaskQueue
{
public:
    // Base of the tasks. One is in one queue at a time, and there once.
    class Link
    {
        friend class TaskQueue;
        std::shared_ptr<Task> next_;
    };

    TaskQueue() = default;
    ~TaskQueue() { Clear(); }
    TaskQueue(const TaskQueue &) = delete;
    TaskQueue &operator=(const TaskQueue &) = delete;

    bool Empty() const { return first_ == nullptr; }

    void Push(std::shared_ptr<Task> task) noexcept
    {
        Task *const added = task.get();
        (last_ == nullptr ? first_ : NextOf(last_)) = std::move(task);
        last_ = added;
    }

    std::shared_ptr<Task> Pop() noexcept
    {
        std::shared_ptr<Task> task = std::move(first_);
        first_ = std::move(NextOf(task.get()));
        if (first_ == nullptr) {
            last_ = nullptr;
        }
        return task;
    }

    void Swap(TaskQueue &other) noexcept
    {
        first_.swap(other.first_);
        std::swap(last_, other.last_);
    }

    // One by one: a chain that released itself would recurse.
    void Clear() noexcept
    {
        while (!Empty()) {
            Pop();
        }
    }

private:
    static std::shared_ptr<Task> &NextOf(Link *task) { return task->next_; }

    std::shared_ptr<Task> first_;
    Task *last_ = nullptr;
};

} // namespace OHOS::Pelloria::Tnx

#endif
