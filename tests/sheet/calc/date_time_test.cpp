// Date and time functions: Excel's calendar with its 29 February 1900, the numbering options of
// weekdays and weeks, the quirks of DATEDIF, the Analysis ToolPak's refusals (booleans, ranges),
// working days with weekends and holidays, and the 1904 date system.
#include "calc_fixture.h"

namespace kes::calc::testing {
namespace {

struct Case {
    std::u16string_view formula, shown;
};

class DateTime : public CalcFixture {
protected:
    DateTime() {
        // A2:A4 three holidays of 2024 (1 January, a Saturday, 1 January again), B1:B3 dates.
        fill(u"A1", {u"TRUE\t2024/1/31", u"45292\t2024/2/29", u"45297\t2024/12/31", u"45292"});
    }

    void expect(std::initializer_list<Case> cases) {
        for (const Case& c : cases) {
            EXPECT_EQ(shown(c.formula), c.shown) << std::string(c.formula.begin(), c.formula.end());
        }
    }
};

TEST_F(DateTime, DateRollsMonthsAndDaysOverInExcelsCalendar) {
    expect({
        {u"=DATE(2024,2,29)-DATE(2024,1,1)", u"59"},
        {u"=DATE(2024,14,1)=DATE(2025,2,1)", u"TRUE"},
        {u"=DATE(2024,1,0)=DATE(2023,12,31)", u"TRUE"},
        {u"=DATE(2024,-1,1)=DATE(2023,11,1)", u"TRUE"},
        {u"=N(DATE(1900,2,29))&\",\"&N(DATE(1900,3,0))&\",\"&N(DATE(1900,3,1))", u"60,60,61"},
        {u"=N(DATE(100,1,1))=N(DATE(2000,1,1))", u"TRUE"},   // years below 1900 count from 1900
        {u"=DATE(0,1,0)*1", u"0"},
        {u"=DATE(1899,12,31)*1", u"693962"},   // 3799-12-31
        {u"=DATE(1900,1,-1)", u"#NUM!"},
        {u"=DATE(10000,1,1)", u"#NUM!"},
        {u"=DATE(2024,1,1.9)=DATE(2024,1,1)", u"TRUE"},
        {u"=DATE(\"2024\",TRUE,1)", u"2024/1/1"},
        {u"=DATE(2024,1,1E+300)", u"#NUM!"},
    });
}

TEST_F(DateTime, TimeWrapsRoundTheDay) {
    EXPECT_TRUE(closeTo(number(u"=TIME(12,30,0)"), 0.5208333333333334));
    EXPECT_EQ(number(u"=TIME(24,0,0)"), 0);
    EXPECT_TRUE(closeTo(number(u"=TIME(0,-30,3600)"), 0.5 / 24));   // negative parts, total not
    EXPECT_TRUE(closeTo(number(u"=TIME(27.9,0,0)"), 3.0 / 24));
    expect({
        {u"=TIME(0,0,-1)", u"#NUM!"},
        {u"=TIME(32768,0,0)", u"#NUM!"},
        {u"=TIME(1,2,3)", u"1:02:03"},
    });
}

TEST_F(DateTime, DateValueAndTimeValueReadTextsOnly) {
    expect({
        {u"=DATEVALUE(\"2024-02-29 06:00\")&\",\"&DATEVALUE(\"2024\u5E741\u67085\u65E5\")", u"45351,45296"},
        {u"=DATEVALUE(\"29-Feb-1900\")&\",\"&DATEVALUE(\"1-Mar-1900\")", u"60,61"},
        {u"=DATEVALUE(45000)", u"#VALUE!"},   // a number is no date text
        {u"=DATEVALUE(A4&\"\")", u"#VALUE!"},
        {u"=DATEVALUE(\"soon\")", u"#VALUE!"},
        {u"=TIMEVALUE(\"2024-02-29 06:00\")&\",\"&TIMEVALUE(\"12:00 PM\")&\",\"&TIMEVALUE(\" 1:30 \")",
         u"0.25,0.5,0.0625"},
        {u"=TIMEVALUE(\"24:00\")&\",\"&TIMEVALUE(\"36:00:00\")", u"0,0.5"},
        {u"=TIMEVALUE(0.5)", u"#VALUE!"},
    });
}

TEST_F(DateTime, PartsOfASerialRoundToTheSecond) {
    expect({
        {u"=YEAR(0)&\"-\"&MONTH(0)&\"-\"&DAY(0)", u"1900-1-0"},
        {u"=MONTH(60)&\"-\"&DAY(60)&\",\"&MONTH(61)&\"-\"&DAY(61)", u"2-29,3-1"},
        {u"=YEAR(2958465.9)", u"9999"},
        {u"=YEAR(2958466)", u"#NUM!"},
        {u"=DAY(-1)", u"#NUM!"},
        {u"=DAY(\"600\")&\",\"&MONTH(TRUE)&\",\"&YEAR(\"2024-05-06\")", u"22,1,2024"},
        {u"=DAY(\"x\")", u"#VALUE!"},
        {u"=HOUR(0.44)&\":\"&MINUTE(0.44)&\":\"&SECOND(0.44)", u"10:33:36"},
        {u"=HOUR(0.999999)&\":\"&MINUTE(0.999999)&\":\"&SECOND(0.999999)", u"0:0:0"},   // 23:59:59.91 is midnight
        {u"=SECOND(TIME(0,0,10)+0.4/86400)&\",\"&SECOND(TIME(0,0,10)+0.6/86400)", u"10,11"},
        {u"=HOUR(1.75)&\",\"&HOUR(\"18:30\")", u"18,18"},
        {u"=HOUR(-0.5)", u"#NUM!"},
    });
}

TEST_F(DateTime, WeekdaysAndWeeksNumberedEveryWay) {
    // 2024-01-01 is a Monday; serial 1 is a Sunday in Excel's calendar.
    expect({
        {u"=WEEKDAY(45292)&WEEKDAY(45292,2)&WEEKDAY(45292,3)", u"210"},
        {u"=WEEKDAY(45292,11)&WEEKDAY(45292,12)&WEEKDAY(45292,13)&WEEKDAY(45292,16)&WEEKDAY(45292,17)", u"17632"},
        {u"=WEEKDAY(0)&WEEKDAY(1)&WEEKDAY(60)", u"714"},
        {u"=WEEKDAY(45292,4)", u"#NUM!"},
        {u"=WEEKDAY(-1)", u"#NUM!"},
        {u"=WEEKNUM(45292)&\",\"&WEEKNUM(45298)&\",\"&WEEKNUM(45298,2)&\",\"&WEEKNUM(45299,2)", u"1,2,1,2"},
        {u"=WEEKNUM(0)&\",\"&WEEKNUM(DATE(2023,12,31),21)&\",\"&WEEKNUM(DATE(2024,12,30),21)", u"0,52,1"},
        {u"=WEEKNUM(45292,3)", u"#NUM!"},
        {u"=ISOWEEKNUM(DATE(2021,1,3))&\",\"&ISOWEEKNUM(DATE(2021,1,4))&\",\"&ISOWEEKNUM(0)", u"53,1,52"},
        {u"=ISOWEEKNUM(TRUE)", u"52"},
    });
}

TEST_F(DateTime, DaysAndDatedifBetweenDates) {
    expect({
        {u"=DAYS(\"2024-03-01\",\"2024-02-01\")&\",\"&DAYS(1.9,2.1)", u"29,-1"},
        {u"=DAYS(-1,1)", u"#NUM!"},
        {u"=DATEDIF(B1,B3,\"Y\")&DATEDIF(B1,B3,\"m\")&\",\"&DATEDIF(B1,B3,\"D\")", u"011,335"},
        {u"=DATEDIF(B1,B3,\"YM\")&\",\"&DATEDIF(B1,B3,\"MD\")&\",\"&DATEDIF(B1,B3,\"YD\")", u"11,0,335"},
        {u"=DATEDIF(DATE(2015,1,31),DATE(2015,3,1),\"MD\")", u"-2"},   // as Excel: 31 February is 3 March
        {u"=DATEDIF(DATE(2020,5,15),DATE(2021,3,10),\"YD\")", u"299"},
        {u"=DATEDIF(8,1987,\"YD\")", u"153"},   // counted in 1900, with its 29 February
        {u"=DATEDIF(B3,B1,\"D\")", u"#NUM!"},
        {u"=DATEDIF(B1,B3,\"W\")", u"#NUM!"},
        {u"=DATEDIF(-1,B3,\"D\")", u"#NUM!"},
    });
}

TEST_F(DateTime, EdateAndEomonthKeepToTheMonth) {
    expect({
        {u"=EDATE(B1,1)&\",\"&EOMONTH(B1,1)&\",\"&EDATE(B2,12)&\",\"&EOMONTH(B2,-2)", u"45351,45351,45716,45291"},
        {u"=EDATE(31,1)&\",\"&EOMONTH(1,1)&\",\"&EDATE(0,0)&\",\"&EOMONTH(0,0)", u"60,60,0,31"},
        {u"=EDATE(B1,1.9)&\",\"&EDATE(\"2024-01-31\",\"1\")", u"45351,45351"},
        {u"=EDATE(A1,1)", u"#VALUE!"},       // the Analysis ToolPak refuses booleans
        {u"=EOMONTH(B1,TRUE)", u"#VALUE!"},
        {u"=EDATE(B1:B2,1)", u"#VALUE!"},    // and ranges, rather than intersecting them
        {u"=INDEX(EDATE({45322,45351},1),2)", u"45380"},   // arrays go element by element
        {u"=EDATE(B1,-1500000)", u"#NUM!"},
        {u"=EOMONTH(-1,0)", u"#NUM!"},
    });
}

TEST_F(DateTime, WorkingDaysSkipWeekendsAndHolidays) {
    // 2024-01-05 is a Friday; the holidays in A2:A4 are a Monday, a Saturday and that Monday again.
    expect({
        {u"=WORKDAY(45296,1)&\",\"&WORKDAY(45296,-5)&\",\"&WORKDAY(45297,0)", u"45299,45289,45297"},
        {u"=WORKDAY(45289,1,A2:A4)&\",\"&WORKDAY(45293,-1,A2:A4)", u"45293,45289"},
        {u"=NETWORKDAYS(45292,45322)&\",\"&NETWORKDAYS(45292,45322,A2:A4)&\",\"&NETWORKDAYS(45322,45292)",
         u"23,22,-23"},
        {u"=NETWORKDAYS(45292,45292,{45292})", u"0"},
        {u"=NETWORKDAYS.INTL(45292,45322,11)&\",\"&NETWORKDAYS.INTL(45292,45322,\"0000011\")", u"27,23"},
        {u"=WORKDAY.INTL(45296,1,7)&\",\"&WORKDAY.INTL(45296,1,\"1111100\")", u"45298,45297"},
        {u"=WORKDAY.INTL(45296,1,\"1111111\")", u"#VALUE!"},
        {u"=WORKDAY.INTL(45296,1,\"011\")", u"#VALUE!"},
        {u"=WORKDAY.INTL(45296,1,8)", u"#NUM!"},
        {u"=WORKDAY(45296,1,\"x\")", u"#VALUE!"},
        {u"=WORKDAY(A1,1)", u"#VALUE!"},
        {u"=WORKDAY(2958465,1)", u"#NUM!"},
        {u"=WORKDAY(1,1E+100)", u"#NUM!"},
    });
}

// Whole weeks are skipped at once; each count must still land where stepping a day at a time would.
TEST_F(DateTime, WorkdayAgreesWithNetworkdaysOverLongSpans) {
    for (const std::u16string_view days : {u"3", u"17", u"250", u"2611", u"-999"}) {
        const std::u16string d(days);
        const std::u16string end = u"WORKDAY(45296," + d + u",A2:A4)";
        const std::u16string count = d.starts_with(u'-') ? u"-NETWORKDAYS(" + end + u",45295,A2:A4)"
                                                        : u"NETWORKDAYS(45297," + end + u",A2:A4)";
        EXPECT_EQ(shown(u"=" + count), d) << std::string(days.begin(), days.end());
    }
}

TEST_F(DateTime, The1904SystemCountsFromItsOwnStart) {
    FormatSettings settings = book.settings();
    settings.date1904 = true;
    book.setSettings(settings);
    expect({
        {u"=N(DATE(1904,1,1))&\",\"&N(DATE(2024,1,1))", u"0,43830"},
        {u"=DATE(1903,12,31)", u"#NUM!"},
        {u"=YEAR(0)&\"-\"&MONTH(0)&\"-\"&DAY(0)&\",\"&WEEKDAY(0)", u"1904-1-1,6"},
        {u"=DATEVALUE(\"2024-01-01\")&\",\"&EDATE(0,1)&\",\"&WEEKNUM(0)&\",\"&ISOWEEKNUM(0)", u"43830,31,1,53"},
        {u"=WORKDAY(0,1)&\",\"&NETWORKDAYS(0,6)", u"3,5"},
    });
}

TEST_F(DateTime, ErrorsInArgumentsWinInTheirOrder) {
    expect({
        {u"=DATE(NA(),1/0,1)", u"#N/A"},
        {u"=DATE(-1,1/0,1)", u"#DIV/0!"},   // before the year is found out of range
        {u"=TIME(1,\"x\",1/0)", u"#VALUE!"},
        {u"=DATEDIF(1/0,NA(),\"Q\")", u"#DIV/0!"},
        {u"=WEEKDAY(NA(),9)", u"#N/A"},
        {u"=EDATE(NA(),A1)", u"#N/A"},
        {u"=WORKDAY(45296,NA(),1/0)", u"#N/A"},
        {u"=NETWORKDAYS(45292,45322,{45300,\"x\"})", u"#VALUE!"},
        {u"=NETWORKDAYS.INTL(45292,45322,1,{45300,-1})", u"#NUM!"},
    });
}

TEST_F(DateTime, ResultsShowAsDatesWhereExcelFormatsThem) {
    expect({
        {u"=DATE(2024,1,5)", u"2024/1/5"},
        {u"=TIME(13,5,0)", u"13:05:00"},
        {u"=EDATE(45296,1)", u"45327"},   // the Analysis ToolPak gives plain serials
        {u"=DATEVALUE(\"2024-01-05\")", u"45296"},
    });
    EXPECT_EQ(result(u"=TODAY()").type, cdtDateTime);
    EXPECT_EQ(number(u"=NOW()-TODAY()") < 1, true);
}

TEST_F(DateTime, WeeksStartingOnEachDay) {
    // 2024-01-03 is a Wednesday and 1 January a Monday: weeks starting on Tuesday or Wednesday
    // have begun a second week by then.
    const struct {
        std::u16string_view type, week;
    } cases[] = {
        {u"11", u"1"}, {u"12", u"2"}, {u"13", u"2"}, {u"14", u"1"}, {u"15", u"1"}, {u"16", u"1"}, {u"17", u"1"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(shown(u"=WEEKNUM(45294," + std::u16string(c.type) + u")"), c.week)
            << std::string(c.type.begin(), c.type.end());
    }
}

}  // namespace
}  // namespace kes::calc::testing
