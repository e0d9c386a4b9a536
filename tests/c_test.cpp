// Each slot of vellix/c.h, on objects of the C++ classes.
#include "vellix/c.h"

#include "support/support.h"

TEST(C, FailureRecordAndLoggerBySlot) {
  const support::TempDir dir;
  vellix_logger* const c = vellix_get_logger();
  EXPECT_TRUE(c->table->SetLogFile(c, (dir / "log").c_str(), false));
  EXPECT_STREQ(c->table->GetLogFile(c), GetQuorlLogger()->GetLogFile());
  EXPECT_NE(c->table->GetLogStream(c)->table, nullptr);
  vellix_fail(7, "broken", 9, "pump.c");
  EXPECT_FAILURE(support::Recorded(), 7, "broken", "pump.c");
  vellix_clear_failure();
  EXPECT_STREQ(vellix_last_failure().msg, "");
  vellix_exception* const record = vellix_get_exception();
  record->table->Copy(record, record);
  EXPECT_NE(support::ReadFile(dir / "log").find("pump.c Line: 9"),
            std::string::npos);
  EXPECT_NE(c->table->IsExpLogEnabled(c), c->table->IsLogging(c, nullptr));
  c->table->EnableExpLog(c, false);
  EXPECT_FALSE(GetQuorlLogger()->IsExpLogEnabled());
  vellix_log(VELLIX_LOG_FATAL, "c", "heard");
  c->table->EnableLog(c, false);
  vellix_log(VELLIX_LOG_FATAL, "c", "unheard");
  const std::string log = support::ReadFile(dir / "log");
  EXPECT_EQ(support::Field(log.substr(log.rfind("[TM=")), "MG"), "heard");
}

TEST(C, StreamBySlot) {
  void* const object = new QuorlBased::CMemoryStream;
  auto* const c = static_cast<vellix_stream*>(object);
  EXPECT_EQ(c->table->SetPosition(c, -(1LL << 40)), -(1LL << 40));
  EXPECT_LT(c->table->GetPosition(c), c->table->GetSize(c));
  EXPECT_TRUE(c->table->SetSize(c, 8));
  EXPECT_EQ(c->table->Seek(c, -2, VELLIX_SEEK_END), 6);
  EXPECT_EQ(c->table->Write(c, "abcd", 4), 4);
  EXPECT_EQ(c->table->CopyFrom(c, c, 0), 10);
  EXPECT_EQ(c->table->Read(c, nullptr, 1), -1);
  EXPECT_GT(c->table->Eof(c), c->table->IsStream(c));
  c->table->Free(c);
}
