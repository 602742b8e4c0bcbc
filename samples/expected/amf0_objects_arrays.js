
 amf = {
	"type" : "package",
	"content" : 
	[
		{
			"type" : "message",
			"length" : 102,
			"targetUri" : "shapes",
			"responseUri" : "/2",
			"value" : 
			{
				"type" : "array",
				"array_type" : "strict",
				"value" : 
				[
					{
						"type" : "object",
						"properties" : 
						[
							{
								"type" : "property",
								"value" : 1.000000,
								"name" : "x"
							},
							{
								"type" : "property",
								"value" : -2.250000,
								"name" : "y"
							}
						]
					},

					{
						"type" : "object",
						"classname" : "geo.Point",
						"properties" : 
						[
							{
								"type" : "property",
								"value" : "home",
								"name" : "label"
							}
						]
					},
					{
						"type" : "array",
						"array_type" : "ECMA",
						"value" : 
						[
							{
								"type" : "property",
								"value" : true,
								"name" : "0"
							},
							{
								"type" : "property",
								"value" : 3.000000,
								"name" : "size"
							}
						]
					},

					{
						"type" : "array",
						"array_type" : "strict",
						"value" : 
						["a","undefined",
							{
								"type" : "array",
								"array_type" : "strict",
								"value" : 
								[
								]
							}
						]
					}
				]
			}
		}
	]
}

amf.content[0].targetUri = "shapes";
amf.content[0].responseUri = "/2";
amf.content[0].value.value[0].properties[0].value = 1.000000; // "x"
amf.content[0].value.value[0].properties[1].value = -2.250000; // "y"
amf.content[0].value.value[1].classname = "geo.Point";
amf.content[0].value.value[1].properties[0].value = "home"; // "label"
amf.content[0].value.value[2].value[0].value = true; // "0"
amf.content[0].value.value[2].value[1].value = 3.000000; // "size"
amf.content[0].value.value[3].value[0] = "a";
amf.content[0].value.value[3].value[1] = "undefined";
