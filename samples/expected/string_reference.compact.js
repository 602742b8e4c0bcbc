
 amf = {"version" : "AMF3","type" : "package","content" : [{"type" : "message","length" : 10,"targetUri" : "list","responseUri" : "/4","value" : {"version" : "AMF3","type" : "array","dense_size" : 2,"value" : ["ab",{"type" : "string","reference" : 0,"type" : "string","value" : "ab"}]}}]}

amf.content[0].targetUri = "list";
amf.content[0].responseUri = "/4";
amf.content[0].value.value[0] = "ab";
amf.content[0].value.value[1].value = "ab";
