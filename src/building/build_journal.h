// building/build_journal.h: how far a build has come, so that another one can go on: the record in the wrapper, and what
// drive C and the registry were before the step that runs. On the creation's thread.
//
// A step that is done is not done again. One that was cut short runs again from its start: what it had added to drive C
// is removed first, and the registry is as it was before. What it has changed in files that were there stays.
#pragma once

#include <string>

#include "building/build_record.h"
#include "building/configuration_stages.h"
#include "wrapper/wrapper.h"

namespace morvane {

class BuildJournal {
  public:
    /// Writes the record into the wrapper, with the steps that it names as done. What is added to it is on the disk
    /// with the next step's beginning or end. The record outlives the journal.
    BuildJournal(Wrapper wrapper, BuildRecord& record);

    [[nodiscard]] bool isDone(ConfigurationStage stage) const;
    /// Before the step's first action.
    void begin(ConfigurationStage stage);
    void end(ConfigurationStage stage);
    /// After the last one.
    void finish();

  private:
    void write() const;
    void cleanUp() const;
    void remember(ConfigurationStage stage) const;

    const Wrapper wrapper_;
    BuildRecord& record_;
};

/// The name of a step in a record.
[[nodiscard]] const char* nameOf(ConfigurationStage stage);

}  // namespace morvane
