#pragma once

#include "kolm/Task.h"
#include "kolm/TaskScheduler.h"
#include "pelk/Ptr.h"
#include "pelk/Subscriber.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

// A task whose slices write its name into a log and then do what the test says.
class RecordingTask {
 public:
   using Log = std::vector<std::string>;

   RecordingTask(Pelk::Ptr<Kolm::TaskScheduler> const& scheduler, uint16_t priority,
                 std::string_view name, Log& log)
      : log_(log),
        task(Pelk::makePtr<Kolm::Task>(scheduler, Kolm::TaskPriority(priority), name)),
        subscriber_(
           Pelk::MemberSubscriber<RecordingTask>::of<&RecordingTask::run>(this)) {
      task->subscriberAdd(&subscriber_, 0);
   }
   ~RecordingTask() { drop(); }

   // Drops the task as its owner does.
   void drop() {
      if (task) {
         task->subscriberRemove(&subscriber_);
         task = nullptr;
      }
   }

   std::function<void()> slice = [] {};

 private:
   void run(Pelk::Publisher* publisher, Pelk::Subscriber*, int16_t attributeId,
            void const* key, void const* value) noexcept {
      log_.emplace_back(task->taskName().view());
      lastWasAsExpected = publisher == task.get() && attributeId == 131 &&
                          key == nullptr && value == nullptr;
      slice();
   }

   Log& log_;

 public:
   Pelk::Ptr<Kolm::Task> task;
   bool lastWasAsExpected = false;

 private:
   Pelk::MemberSubscriber<RecordingTask> subscriber_;
};
