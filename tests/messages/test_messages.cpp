// The message catalogue: row count, order landmarks, sample texts written out here, escaping, duplicated
// rows, the last row's eight copies and the two empty strings.
#include "messages/Messages.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <vector>

namespace {

using namespace Zarn::messages;

// The rows as a vector of pointers, so the tests can walk them with plain loops.
std::vector<const std::string*> allRows() {
  std::vector<const std::string*> rows;
  const std::string* const* table = catalogue();
  for (int i = 0; i < catalogueSize(); ++i) {
    rows.push_back(table[i]);
  }
  return rows;
}

// Index of the row with this text, or -1; fails the test when the text occurs more than once.
int indexOfUniqueText(const std::string& text) {
  int found = -1;
  int count = 0;
  const std::vector<const std::string*> rows = allRows();
  for (std::size_t i = 0; i < rows.size(); ++i) {
    if (*rows[i] == text) {
      found = static_cast<int>(i);
      ++count;
    }
  }
  EXPECT_LE(count, 1) << "text occurs " << count << " times: " << text;
  return found;
}

std::size_t countOccurrences(const std::string& text, const std::string& what) {
  std::size_t count = 0;
  for (std::size_t pos = text.find(what); pos != std::string::npos; pos = text.find(what, pos + what.size())) {
    ++count;
  }
  return count;
}

TEST(Messages, CatalogueHolds339DistinctRowObjects) {
  ASSERT_EQ(catalogueSize(), 339);
  const std::vector<const std::string*> rows = allRows();
  for (std::size_t i = 0; i < rows.size(); ++i) {
    ASSERT_NE(rows[i], nullptr) << "row " << i;
    for (std::size_t j = 0; j < i; ++j) {
      EXPECT_NE(rows[i], rows[j]) << "rows " << j << " and " << i << " are the same object";
    }
  }
}

TEST(Messages, FirstRowIsTheBarePlaceholder) {
  ASSERT_EQ(catalogue()[0], &bareArgument);
  EXPECT_EQ(bareArgument, "$_ARG_$");
  EXPECT_EQ(*catalogue()[1], "SEE FILE '$_ARG_$' LINE $_ARG_$.");
}

TEST(Messages, WarningsBeginBehindWarningTmp) {
  const int divider = indexOfUniqueText("Warning tmp");
  ASSERT_EQ(divider, 197);  // the 198th row
  EXPECT_EQ(catalogue()[divider], &warningTmp);
  // The last error before the divider and the first warning behind it.
  EXPECT_EQ(*catalogue()[divider - 1], "TIME STEP IS TOO LARGE FOR RUNGE KUTTA METHOD.");
  EXPECT_EQ(*catalogue()[divider + 1], "UNKNOWN OUTPUT OPTION [$_ARG_$] AT SUBCASE ID=$_ARG_$");
  EXPECT_EQ(catalogue()[divider + 1], &unknownOutputOption);
}

TEST(Messages, ProgressAndProblemInformationOpenTheLastGroup) {
  const int progress = indexOfUniqueText("Progress message 500");
  ASSERT_EQ(progress, 319);  // the 320th row
  EXPECT_EQ(catalogue()[progress], &progressMessage500);
  EXPECT_EQ(*catalogue()[progress + 1], "Problem information 600");
  EXPECT_EQ(catalogue()[progress + 1], &problemInformation600);
  EXPECT_EQ(*catalogue()[progress + 2], "/*CODE[0],ID[$_ARG_$]*/");

  // Nine report lines with a numeric code follow, each a comment-shaped line.
  const char* const codes[] = {"0", "3", "10", "13", "14", "15", "16", "17", "18"};
  for (int k = 0; k < 9; ++k) {
    const std::string& row = *catalogue()[progress + 2 + k];
    const std::string head = std::string("/*CODE[") + codes[k] + "]";
    EXPECT_EQ(row.compare(0, head.size(), head), 0) << row;
    ASSERT_GE(row.size(), 2u);
    EXPECT_EQ(row.substr(row.size() - 2), "*/") << row;
  }
}

struct ExpectedRow {
  const std::string* constant;
  int index;  // 0-based position in the catalogue
  const char* text;
};

TEST(Messages, SampleRowsHaveTheirTexts) {
  const ExpectedRow expected[] = {
      {&cannotOpenInputFile, 2, "CANNOT OPEN INPUT FILE '$_ARG_$'."},
      {&errorReadingEntityNotDefined, 5,
       "ERROR ENCOUNTERED WHILE READING '$_ARG_$' WITH ID=$_ARG_$.\nENTITY $_ARG_$ IS NOT PROPERLY DEFINED."},
      {&invalidDofTypeValue, 14, "INVALID DOF TYPE VALUE [LINE=$_ARG_$]. ALLOWED VALUES ARE 1,2,3,4,5,6 AND 7."},
      {&missingEndtKeyword, 41, "NO \"ENDT\" KEYWORD IN TABLE DEFINITION [LINE=$_ARG_$]."},
      // Two spaces before ELEMENT are part of the text.
      {&invalidReleaseDof, 48, "INVALID RELEASE DOF DEFINITION IN $_ARG_$  ELEMENT ID=$_ARG_$."},
      {&negativeJacobianInElement, 80, "NEGATIVE JACOBIAN IN ELEMENT ID=$_ARG_$."},
      {&solverExecutableTerminated, 107, "ZOLEXE.EXE IS TERMINATED UNEXPECTEDLY."},
      {&multiBodyRedundantMotion, 153, "MULTI-BODY SYSTEM SEEMS TO HAVE REDUNDANT MOTION.\n"},
      {&subcaseCombinationDiscrepancy, 246,
       "DISCREPANCY IN CONSTRAINTS, CONTACT OR MATERIAL PROPERTIES FOUND IN SUBCASE COMBINATION.\n"
       "     COMBINED RESULTS OF SUBCASES ID $_ARG_$ AND $_ARG_$ MAY BE INVALID"},
      {&embeddedElementsWithoutMothers, 277,
       "FOLLOWING EMBEDDED ELEMENTS HAVE NOT ENOUGH MOTHER ELEMENTS : \n$_ARG_$.\n"},
      // Leading and trailing spaces are part of the text.
      {&timeStepBelowCriticalInConsolidation, 288,
       " TIME STEP IS LESS THAN CRITICAL TIME STEP IN CONSOLIDATION ANALYSIS. "},
      {&rigidBodyPointsNotCoplanar, 292,
       "POINTS CONNECTED BY RIGID BODY ELEMENT ARE NOT IN SAME PLANE. CHECK MASTER-SLAVE NODES.\n"
       "     MASTER NODE ID = $_ARG_$, COORDINATE = $_ARG_$.\n"
       "     SLAVE NODE ID = $_ARG_$, COORDINATE = $_ARG_$."},
      {&elementDofIntegrationPoint, 313, "$_ARG_$( ELEMENT ID=$_ARG_$, DOF=$_ARG_$, INTEGRATION POINT=$_ARG_$ )"},
      {&reportCode15, 326,
       "/*CODE[15],TYPE[$_ARG_$],ID[$_ARG_$],NUMYDATA[$_ARG_$],$_ARG_$,$_ARG_$,$_ARG_$,$_ARG_$*/"},
      {&keywordNotSupported, 330, "KEYWORD \"$_ARG_$\" IS NOT SUPPORTED\n"},
  };
  for (const ExpectedRow& row : expected) {
    EXPECT_EQ(*row.constant, row.text) << "row " << row.index;
    EXPECT_EQ(catalogue()[row.index], row.constant) << "row " << row.index;
  }
}

TEST(Messages, LineBreaksAndQuotesAreRealCharacters) {
  // Counted by hand over the catalogue texts: 15 line breaks in 13 rows, 406 placeholders, 2 rows with 2 quotes each.
  std::size_t newlines = 0;
  std::size_t rowsWithNewline = 0;
  std::size_t placeholders = 0;
  std::size_t quotes = 0;
  for (const std::string* row : allRows()) {
    const std::size_t n = countOccurrences(*row, "\n");
    newlines += n;
    rowsWithNewline += n > 0 ? 1 : 0;
    placeholders += countOccurrences(*row, "$_ARG_$");
    quotes += countOccurrences(*row, "\"");
    // An escape left undone would show up as a backslash.
    EXPECT_EQ(row->find('\\'), std::string::npos) << *row;
  }
  EXPECT_EQ(newlines, 15u);
  EXPECT_EQ(rowsWithNewline, 13u);
  EXPECT_EQ(placeholders, 406u);
  EXPECT_EQ(quotes, 4u);
  EXPECT_EQ(countOccurrences(rigidBodyPointsNotCoplanar, "\n"), 2u);
}

TEST(Messages, DuplicatedTextsAreSeparateRows) {
  const std::string jacobian = "NEGATIVE JACOBIAN IN ELEMENT ID=$_ARG_$.";
  EXPECT_EQ(negativeJacobianInElement, jacobian);
  EXPECT_EQ(negativeJacobianInElement2, jacobian);
  EXPECT_NE(&negativeJacobianInElement, &negativeJacobianInElement2);
  EXPECT_EQ(catalogue()[257], &negativeJacobianInElement2);

  const std::string notConverged = "FAILED TO CONVERGE IN NONLINEAR ANALYSIS. LOAD INCREMENT=$_ARG_$.";
  EXPECT_EQ(catalogue()[96], &failedToConvergeNonlinear);
  EXPECT_EQ(catalogue()[187], &failedToConvergeNonlinear2);
  EXPECT_EQ(catalogue()[228], &failedToConvergeNonlinear3);
  EXPECT_EQ(failedToConvergeNonlinear, notConverged);
  EXPECT_EQ(failedToConvergeNonlinear2, notConverged);
  EXPECT_EQ(failedToConvergeNonlinear3, notConverged);

  EXPECT_EQ(noFlexibleBodyMode, "NO FLEXIBLE-BODY MODE.");
  EXPECT_EQ(noFlexibleBodyMode2, "NO FLEXIBLE-BODY MODE.");
  EXPECT_EQ(catalogue()[114], &noFlexibleBodyMode);
  EXPECT_EQ(catalogue()[281], &noFlexibleBodyMode2);

  const std::string bush = "STIFFNESS MATRIX IS NOT POSITIVE DEFINITE IN BUSH PROPERTY ID = $_ARG_$.";
  EXPECT_EQ(bushStiffnessNotPositiveDefinite, bush);
  EXPECT_EQ(bushStiffnessNotPositiveDefinite2, bush);

  const std::string raysweep =
      "RAYSWEEP INTEGRATION FAILED AT ELEMENT ID=$_ARG_$ AT ($_ARG_$, $_ARG_$, $_ARG_$) <-> "
      "($_ARG_$, $_ARG_$, $_ARG_$)";
  EXPECT_EQ(raysweepIntegrationFailed, raysweep);
  EXPECT_EQ(raysweepIntegrationFailed2, raysweep);

  // Counted by hand: 6 rows repeat an earlier text among the first 331, and the last row's 7 further
  // copies repeat the first, so 339 - 13 = 326 texts are distinct.
  const std::vector<const std::string*> rows = allRows();
  std::size_t repeats = 0;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    for (std::size_t j = 0; j < i; ++j) {
      if (*rows[j] == *rows[i]) {
        ++repeats;
        break;
      }
    }
  }
  EXPECT_EQ(repeats, 13u);
}

TEST(Messages, LastRowIsHeldEightTimes) {
  const std::string* const copies[] = {&bracketedTriple1, &bracketedTriple2, &bracketedTriple3,
                                       &bracketedTriple4, &bracketedTriple5, &bracketedTriple6,
                                       &bracketedTriple7, &bracketedTriple8};
  for (int k = 0; k < 8; ++k) {
    EXPECT_EQ(*copies[k], " [ $_ARG_$ ] [ $_ARG_$ ] [ $_ARG_$ ]") << "copy " << k + 1;
    EXPECT_EQ(catalogue()[331 + k], copies[k]) << "copy " << k + 1;
  }
}

TEST(Messages, TwoEmptyStringsStandBehindTheCatalogue) {
  EXPECT_TRUE(emptyStrings[0].empty());
  EXPECT_TRUE(emptyStrings[1].empty());
  EXPECT_NE(&emptyStrings[0], &emptyStrings[1]);
  // They are not rows: no row of the catalogue is empty.
  for (const std::string* row : allRows()) {
    EXPECT_NE(row, &emptyStrings[0]);
    EXPECT_NE(row, &emptyStrings[1]);
    EXPECT_FALSE(row->empty());
  }
}

}  // namespace
