
 amf = {
	"version" : "AMF3",
	"type" : "package",
	"content" : 
	[
		{
			"type" : "message",
			"length" : 6,
			"targetUri" : "int",
			"responseUri" : "/12",
			"value" : 
			{
				"version" : "AMF3",
				"type" : "integer",
				"value" : 4294967295
			}
		}
	]
}

amf.content[0].targetUri = "int";
amf.content[0].responseUri = "/12";
amf.content[0].value = amf.content[0].value.value = 4294967295;
