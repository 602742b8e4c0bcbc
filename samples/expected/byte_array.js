
 amf = {
	"version" : "AMF3",
	"type" : "package",
	"content" : 
	[
		{
			"type" : "message",
			"length" : 7,
			"targetUri" : "put",
			"responseUri" : "/6",
			"value" : 
			{
				"version" : "AMF3",
				"type" : "bytearray",
				"value" : "007FFFFFFF80FFFFFFFF"
			}
		},
		{
			"type" : "message",
			"length" : 3,
			"targetUri" : "put",
			"responseUri" : "/7",
			"value" : 
			{
				"version" : "AMF3",
				"type" : "bytearray",
				"value" : ""
			}
		}
	]
}

amf.content[0].targetUri = "put";
amf.content[0].responseUri = "/6";
amf.content[0].value = amf.content[0].value.value = "007FFFFFFF80FFFFFFFF";
amf.content[1].targetUri = "put";
amf.content[1].responseUri = "/7";
amf.content[1].value = amf.content[1].value.value = "";
