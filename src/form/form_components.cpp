#include "form/form_components.h"

namespace kes {
namespace {

const std::u16string kLabelName = u"\u6807\u7B7E\u540D\u79F0";   // 标签名称

TFieldDef text(std::u16string name, uint32_t size, std::u16string label = {}) {
    return {std::move(name), TFieldType::ftString, size, std::move(label)};
}

TFieldDef integer(std::u16string name) { return {std::move(name), TFieldType::ftInteger, 0, {}}; }

TMenuItem item(std::u16string name, std::u16string caption, bool visible = true, std::vector<TMenuItem> items = {}) {
    return {std::move(name), std::move(caption), visible, std::move(items)};
}

}  // namespace

TClientDataSet makeTypeTable() {
    return {{text(u"FCode", 100), integer(u"FParent"), text(u"FName", 100, kLabelName), text(u"FParentID", 50),
             text(u"FID", 50)}};
}

TClientDataSet makeLabelTypeTable() {
    return {{text(u"FTypeID", 50), text(u"FCompanyID", 50), text(u"FUserID", 50), text(u"FCode", 50), text(u"FName", 50),
             text(u"FSQL", 1000)}};
}

TClientDataSet makePrinterTable() { return {}; }

TClientDataSet makeTypeDetailTable() {
    return {{text(u"FCode", 100), integer(u"FParent"), text(u"FName", 100, kLabelName), text(u"FParentID", 50),
             text(u"FID", 50), text(u"FPrinter", 50), integer(u"FLabelVersion"), text(u"FDataSource", 1000)}};
}

TPopupMenu makePopupMenu() {
    return {{
        item(u"N9", u"\u526A\u5207"),                  // 剪切
        item(u"N11", u"\u590D\u5236"),                 // 复制
        item(u"N12", u"\u7C98\u8D34"),                 // 粘贴
        item(u"N29", u"-"),
        item(u"N2", u"\u63D2\u5165\u6574\u884C"),      // 插入整行
        item(u"N10", u"\u63D2\u5165\u9009\u9879"),     // 插入选项
        item(u"N1", u"\u5220\u9664\u6574\u884C"),      // 删除整行
        item(u"N3", u"\u5220\u9664\u9009\u9879"),      // 删除选项
        item(u"N31", u"\u6574\u884C\u590D\u5236"),     // 整行复制
        item(u"N30", u"-"),
        item(u"N8", u"\u6E05\u7A7A"),                  // 清空
        item(u"N25", u"\u5217\u64CD\u4F5C", false,     // 列操作
             {item(u"N26", u"\u9690\u85CF\u5217"), item(u"N27", u"\u663E\u793A\u5217")}),   // 隐藏列, 显示列
        item(u"N17", u"\u884C\u64CD\u4F5C", false,     // 行操作
             {item(u"N18", u"\u9690\u85CF\u884C"), item(u"N28", u"\u663E\u793A\u884C")}),   // 隐藏行, 显示行
    }};
}

}  // namespace kes
