
 amf = {"type" : "package","content" : [{"type" : "message","length" : 31,"targetUri" : "save","responseUri" : "/2","value" : {"type" : "object","properties" : [{"type" : "property","value" : true,"name" : "on"},{"type" : "property","name" : "list","value" : {"type" : "array","array_type" : "strict","value" : [1.500000,null]}}]}}]}

amf.content[0].targetUri = "save";
amf.content[0].responseUri = "/2";
amf.content[0].value.properties[0].value = true; // "on"
amf.content[0].value.properties[1].name = "list";
amf.content[0].value.properties[1].value.value[0] = 1.500000;
amf.content[0].value.properties[1].value.value[1] = null;
