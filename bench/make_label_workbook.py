#!/usr/bin/python3
"""Writes the benchmark workbook: label rows x 12 columns (100,000 rows unless a second argument
gives the count; Excel's whole sheet is 1,048,575 below the header), made with xlsxwriter."""
import datetime
import sys

import xlsxwriter

names = ["内六角螺栓", "平垫圈", "弹簧垫圈", "六角螺母", "自攻螺钉"]
book = xlsxwriter.Workbook(sys.argv[1], {"constant_memory": True})
sheet = book.add_worksheet("标签")
date = book.add_format({"num_format": "yyyy-mm-dd"})
price = book.add_format({"num_format": "0.00"})
for col, name in enumerate(["序号", "编码", "品名", "规格", "条码", "数量", "单价", "生产日期", "批号", "单位", "客户", "备注"]):
    sheet.write_string(0, col, name)
rows = int(sys.argv[2]) if len(sys.argv) > 2 else 100000
for r in range(1, rows + 1):
    sheet.write_number(r, 0, r)
    sheet.write_string(r, 1, "SKU-%06d" % r)
    sheet.write_string(r, 2, names[r % 5] + "产品%d" % (r % 40))
    sheet.write_string(r, 3, "M%d×%d" % (4 + r % 8, 10 + r % 30))
    sheet.write_string(r, 4, "%013d" % (6901234500000 + r))
    sheet.write_number(r, 5, 1 + r % 500)
    sheet.write_number(r, 6, (r % 1000) + 0.25, price)
    sheet.write_datetime(r, 7, datetime.datetime(2026, 1 + r % 12, 1 + r % 28), date)
    sheet.write_string(r, 8, "B2611-%d" % (r // 1000))
    sheet.write_string(r, 9, ["个", "箱", "包"][r % 3])
    sheet.write_string(r, 10, "上海工厂")
    sheet.write_string(r, 11, "备注%d" % r)
book.close()
