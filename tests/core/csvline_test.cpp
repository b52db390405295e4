#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "core/csvline.h"

namespace {

using Elements = std::vector<tstring>;

Elements read(const std::string& line) {
  CSVLine csv{tstring(line)};
  return csv.unformat();
}

TEST(CSVLine, QuotingIsTriggeredByACommaOnly) {
  CSVLine csv(Elements{"a", "b,c", "x\"y"});
  EXPECT_EQ(csv.format(), "a,\"b,c\",x\"\"y");
  // Reading drops the enclosing quotes but leaves doubled quotes doubled.
  EXPECT_EQ(read("a,\"b,c\",x\"\"y"), (Elements{"a", "b,c", "x\"\"y"}));

  EXPECT_EQ(CSVLine(Elements{"he said \"hi\"", "two words", "line\nbreak"}).format(),
            "he said \"\"hi\"\",two words,line\nbreak");
  // A comma and a quote in one element: the quote is doubled, the whole enclosed.
  EXPECT_EQ(CSVLine(Elements{"a,\"b", "c"}).format(), "\"a,\"\"b\",c");
  EXPECT_EQ(read("\"a,\"\"b\",c"), (Elements{"a,\"\"b", "c"}));
  EXPECT_EQ(CSVLine(Elements{"\"", "", ","}).format(), "\"\",,\",\"");
  EXPECT_EQ(read("\"\",,\",\""), (Elements{"", "", ","}));
  EXPECT_EQ(CSVLine(Elements{}).format(), "");
}

TEST(CSVLine, EmptyPiecesAndQuotes) {
  EXPECT_TRUE(read("").empty());
  EXPECT_EQ(read(",a"), (Elements{"", "a"}));
  EXPECT_EQ(read("a,"), (Elements{"a"}));
  EXPECT_EQ(read("a,,"), (Elements{"a", ""}));
  EXPECT_EQ(read("a,,b"), (Elements{"a", "", "b"}));
  EXPECT_EQ(read(","), (Elements{""}));
  EXPECT_EQ(read("\"a,b\",c"), (Elements{"a,b", "c"}));
  EXPECT_EQ(read("\"a,b"), (Elements{"\"a,b"}));    // unbalanced: no closing quote to drop
  EXPECT_EQ(read("\""), (Elements{"\""}));          // one character is not enclosed
  EXPECT_EQ(read("x\"a,b\"y"), (Elements{"x\"a,b\"y"}));
}

TEST(CSVLine, DoubleByteCharactersAreNeverSplit) {
  // A lead byte swallows the byte after it, even a comma or a quote.
  const tstring leadComma("\x81,");
  const tstring leadQuote("\x81\"x");
  CSVLine csv(Elements{leadComma, leadQuote, "b"});
  EXPECT_EQ(csv.format(), tstring("\x81,,\x81\"x,b"));
  EXPECT_EQ(read(csv.format()), (Elements{leadComma, leadQuote, "b"}));

  // Real characters: "表" and "ソ" have the trail byte 0x5C.
  const tstring hyou("\x95\x5C");
  const tstring so("\x83\x5C");
  CSVLine kanji(Elements{hyou + "," + so, so + "\"", hyou});
  EXPECT_EQ(kanji.format(), "\"" + hyou + "," + so + "\"," + so + "\"\"," + hyou);
  EXPECT_EQ(read(kanji.format()), (Elements{hyou + "," + so, so + "\"\"", hyou}));

  // The closing quote must be a character of its own.
  EXPECT_EQ(read("\"\x81\""), (Elements{"\"\x81\""}));
  EXPECT_EQ(read("a,\x81"), (Elements{"a", "\x81"}));
  EXPECT_EQ(read("\x81,b"), (Elements{"\x81,b"}));
}

TEST(CSVLine, FormsAreConvertedOnlyOnDemand) {
  CSVLine line{tstring("a,b,c")};
  EXPECT_EQ(line.entries(), 0u);
  EXPECT_EQ(line.element(5), "");
  EXPECT_EQ(line.entries(), 3u);
  EXPECT_EQ(line.element(1), "b");
  EXPECT_EQ(line.top(), "a");
  EXPECT_EQ(line.tail(), "c");
  EXPECT_EQ(CSVLine(tstring("x,y")).tail(), "y");
  EXPECT_EQ(CSVLine(tstring("")).tail(), "");
  EXPECT_EQ(CSVLine(tstring("q")).top(), "q");

  line.addElement("d");
  line.addElements(Elements{"e", "f"});
  line.addEmptyElement(2);
  line.addEmptyElement(0);
  line.addEmptyElement(-3);
  EXPECT_EQ(static_cast<const tstring&>(line), "a,b,c,d,e,f,,");
  const Elements& parsed = line;
  EXPECT_EQ(parsed.size(), 7u);  // the trailing empty piece is not taken

  CSVLine copy(line);
  EXPECT_EQ(copy.entries(), 7u);
  copy.setLine("z");
  EXPECT_EQ(copy.entries(), 7u);  // the elements are not touched
  copy = line;
  EXPECT_EQ(copy.format(), "a,b,c,d,e,f,");
  copy.setElements(Elements{"1"});
  EXPECT_EQ(copy.format(), "1");
  copy.clear();
  EXPECT_EQ(copy.entries(), 0u);
  EXPECT_EQ(copy.format(), "");
}

}  // namespace
