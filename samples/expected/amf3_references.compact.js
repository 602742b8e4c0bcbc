
 amf = {"version" : "AMF3","type" : "package","content" : [{"type" : "message","length" : 109,"targetUri" : "null","responseUri" : "/4","value" : {"version" : "AMF3","type" : "array","dense_size" : 20,"value" : ["abc",{"type" : "string","reference" : 0,"type" : "string","value" : "abc"},{"type" : "xml","xml_type" : "XML","value" : "<a/> "},{"type" : "xml","reference" : 1,"type" : "xml","xml_type" : "XML","value" : "<a/> "},{"type" : "xml","value" : "<b/>"},{"type" : "xml","reference" : 2,"type" : "xml","value" : "<b/>"},
{"type" : "date","value" : "Fri Jan  2 00:00:00 1970"},{"type" : "date","reference" : 3,"type" : "date","value" : "Fri Jan  2 00:00:00 1970"},{"type" : "bytearray","value" : "00FFFFFF80"},{"type" : "bytearray","reference" : 4,"type" : "bytearray","value" : "00FFFFFF80"},{"type" : "array","dense_size" : 1,"value" : [true]},{"type" : "array","reference" : 5,"type" : "array","dense_size" : 1,"value" : [true]},{"type" : "object","sealed_size" : 2,"classname" : "geo.Point","properties" : 
[{"type" : "property","value" : 1,"name" : "x"},{"type" : "property","value" : 2,"name" : "y"}]},{"type" : "object","reference" : 6,"type" : "object","sealed_size" : 2,"classname" : "geo.Point","properties" : [{"type" : "property","value" : 1,"name" : "x"},{"type" : "property","value" : 2,"name" : "y"}]},{"type" : "object","sealed_size" : 2,"traits_reference" : 0,"classname" : "geo.Point","properties" : [{"type" : "property","value" : 3,"name" : "x"},{"type" : "property","value" : {"type" : "string","reference" : 0,"type" : "string","value" : "abc"},
"name" : "y"}]},{"type" : "object","sealed_size" : 1,"have_dynamic" : true,"classname" : {"type" : "string","reference" : 1,"type" : "string","value" : "geo.Point"},"properties" : [{"type" : "property","name" : {"type" : "string","reference" : 2,"type" : "string","value" : "x"},"value" : {"type" : "object","reference" : 7,"type" : "object","sealed_size" : 2,"traits_reference" : 0,"classname" : "geo.Point","properties" : [{"type" : "property",
"value" : 3,"name" : "x"},{"type" : "property","value" : {"type" : "string","reference" : 0,"type" : "string","value" : "abc"},"name" : "y"}]}},{"type" : "property","value" : null,"name" : {"type" : "string","reference" : 3,"type" : "string","value" : "y"}}]},{"type" : "object","sealed_size" : 1,"traits_reference" : 1,"have_dynamic" : true,"classname" : {"type" : "string","reference" : 1,"type" : "string","value" : "geo.Point"},"properties" : [{"type" : "property","value" : false,"name" : 
{"type" : "string","reference" : 2,"type" : "string","value" : "x"}},{"type" : "property","value" : 5,"name" : "z"}]},{"type" : "object","reference" : 9,"type" : "object","sealed_size" : 1,"traits_reference" : 1,"have_dynamic" : true,"classname" : {"type" : "string","reference" : 1,"type" : "string","value" : "geo.Point"},"properties" : [{"type" : "property","value" : false,"name" : {"type" : "string","reference" : 2,"type" : "string","value" : "x"}},{"type" : "property","value" : 5,"name" : "z"}]},
{"type" : "object","sealed_size" : 0,"have_dynamic" : true,"properties" : [{"type" : "property","value" : {"type" : "string","reference" : 2,"type" : "string","value" : "x"},"name" : {"type" : "string","reference" : 4,"type" : "string","value" : "z"}}]},{"type" : "object","sealed_size" : 0,"traits_reference" : 2,"have_dynamic" : true,"properties" : []}]}}]}

amf.content[0].targetUri = "null";
amf.content[0].responseUri = "/4";
amf.content[0].value.value[0] = "abc";
amf.content[0].value.value[1].value = "abc";
amf.content[0].value.value[2].value = "<a/> ";
amf.content[0].value.value[3].value = "<a/> ";
amf.content[0].value.value[4].value = "<b/>";
amf.content[0].value.value[5].value = "<b/>";
amf.content[0].value.value[6].value = "Fri Jan  2 00:00:00 1970";
amf.content[0].value.value[7].value = "Fri Jan  2 00:00:00 1970";
amf.content[0].value.value[8].value = "00FFFFFF80";
amf.content[0].value.value[9].value = "00FFFFFF80";
amf.content[0].value.value[10].value[0] = true;
amf.content[0].value.value[11].value[0] = true;
amf.content[0].value.value[12].classname = "geo.Point";
amf.content[0].value.value[12].properties[0].value = 1; // "x"
amf.content[0].value.value[12].properties[1].value = 2; // "y"
amf.content[0].value.value[13].classname = "geo.Point";
amf.content[0].value.value[13].properties[0].value = 1; // "x"
amf.content[0].value.value[13].properties[1].value = 2; // "y"
amf.content[0].value.value[14].classname = "geo.Point";
amf.content[0].value.value[14].properties[0].value = 3; // "x"
amf.content[0].value.value[14].properties[1].value = "abc"; // "y"
amf.content[0].value.value[15].classname = amf.content[0].value.value[15].classname.value = "geo.Point";
amf.content[0].value.value[15].properties[0].name = amf.content[0].value.value[15].properties[0].name.value = "x";
amf.content[0].value.value[15].properties[0].value.classname = "geo.Point";
amf.content[0].value.value[15].properties[0].value.properties[0].value = 3; // "x"
amf.content[0].value.value[15].properties[0].value.properties[1].value = "abc"; // "y"
amf.content[0].value.value[15].properties[1].value = null; // "y"
amf.content[0].value.value[16].classname = amf.content[0].value.value[16].classname.value = "geo.Point";
amf.content[0].value.value[16].properties[0].value = false; // "x"
amf.content[0].value.value[16].properties[1].value = 5; // "z"
amf.content[0].value.value[17].classname = amf.content[0].value.value[17].classname.value = "geo.Point";
amf.content[0].value.value[17].properties[0].value = false; // "x"
amf.content[0].value.value[17].properties[1].value = 5; // "z"
amf.content[0].value.value[18].properties[0].value = "x"; // "z"
