// Every monitoring record class in one archive, each written through its
// CObject pointer: read back by class name, and every truncation of the
// archive ends in the end-of-file exception.
#include <gtest/gtest.h>

#include <memory>
#include <vector>

#include "RecordArchiveTestUtil.h"
#include "RecordSamples.h"

namespace {

using recordtest::Bytes;

Bytes storeObjects(const std::vector<const CObject*>& objects) {
  return mfctest::store([&](CArchive& ar) {
    for (const CObject* object : objects) ar << object;
  });
}

TEST(MonitorArchives, EveryRecordClassReadsBackAndTruncationsEndTheFile) {
  const CLogObject log = recordtest::sampleLog();
  const ActionFilter filter = recordtest::sampleFilter();
  const CMibNode node = recordtest::sampleMibNode();
  const CTaskDataRecord record = recordtest::sampleTaskRecord();
  const CTaskObject task = recordtest::sampleTask();
  const std::vector<const CObject*> objects = {&log, &filter, &node, &record, &task};
  const Bytes bytes = storeObjects(objects);

  const auto readAll = [&](CArchive& ar, std::vector<std::unique_ptr<CObject>>& read) {
    for (size_t i = 0; i < objects.size(); ++i) read.emplace_back(ar.ReadObject(nullptr));
  };
  std::vector<std::unique_ptr<CObject>> read;
  mfctest::load(bytes, [&](CArchive& ar) { readAll(ar, read); });
  ASSERT_EQ(read.size(), objects.size());
  std::vector<const CObject*> again;
  for (size_t i = 0; i < read.size(); ++i) {
    EXPECT_EQ(read[i]->GetRuntimeClass(), objects[i]->GetRuntimeClass()) << i;
    again.push_back(read[i].get());
  }
  EXPECT_EQ(storeObjects(again), bytes);

  recordtest::expectEveryTruncationIsEndOfFile(bytes, [&](CArchive& ar) {
    std::vector<std::unique_ptr<CObject>> partial;
    readAll(ar, partial);
  });
}

}  // namespace
