
 amf = {
	"type" : "package",
	"content" : 
	[
		{
			"type" : "header",
			"must_understand" : true,
			"length" : 5,
			"value" : "A1",
			"name" : "id"
		},
		{
			"type" : "header",
			"name" : "opt",
			"value" : 
			{
				"type" : "object",
				"properties" : 
				[
				]
			}
		},
		{
			"type" : "message",
			"length" : 1,
			"targetUri" : "ping",
			"responseUri" : "/3",
			"value" : null
		}
	]
}

amf.content[0].value = "A1"; // "id"
amf.content[1].name = "opt";
amf.content[2].targetUri = "ping";
amf.content[2].responseUri = "/3";
amf.content[2].value = null;
